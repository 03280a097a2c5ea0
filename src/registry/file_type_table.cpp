#include "registry/file_type_table.h"

#include <algorithm>
#include <cctype>

#include "importers/documents/other_import.h"
#include "importers/documents/pdf_import.h"
#include "importers/documents/wfw_import.h"
#include "importers/documents/win_three_import.h"
#include "importers/documents/word8_import.h"
#include "importers/documents/wordperfect_import.h"
#include "importers/kestro/kestro_import.h"
#include "importers/mail/eml_import.h"
#include "importers/mail/imap_import.h"
#include "importers/mail/maildir_import.h"
#include "importers/mail/mailbox_import.h"
#include "importers/mail/outlook_express_import.h"
#include "importers/mail/outlook_import.h"
#include "importers/tables/ado_import.h"
#include "importers/text/delimited_import.h"
#include "importers/text/fixed_import.h"
#include "importers/text/html_import.h"
#include "importers/text/kestro_dos_import.h"
#include "importers/text/rtf_import.h"
#include "importers/text/text_import.h"
#include "ks_imp.h"

namespace ks::registry {
namespace {

template <typename Importer>
std::unique_ptr<CIMPImportBase> Create() {
  return std::make_unique<Importer>();
}

// The option masks, named by what they offer.
constexpr uint32_t kDocumentOptions = KSIMP_OPT_FILE_ORIGIN | KSIMP_OPT_IMPORT_LOCATION |
                                      KSIMP_OPT_DOCUMENT_DELIMITER | KSIMP_OPT_ENTRY_FORM |
                                      KSIMP_OPT_AUTO_FIELDS | KSIMP_OPT_DATE_RANGE |
                                      KSIMP_OPT_SORT_ORDER | KSIMP_OPT_SAVE_ATTACHMENTS;
constexpr uint32_t kRecordOptions = KSIMP_OPT_FILE_ORIGIN | KSIMP_OPT_IMPORT_LOCATION |
                                    KSIMP_OPT_ENTRY_FORM | KSIMP_OPT_AUTO_FIELDS |
                                    KSIMP_OPT_DATE_RANGE | KSIMP_OPT_SORT_ORDER;
constexpr uint32_t kKestroOptions =
    KSIMP_OPT_IMPORT_LOCATION | KSIMP_OPT_AUTO_FIELDS | KSIMP_OPT_DATE_RANGE | KSIMP_OPT_SORT_ORDER;
constexpr uint32_t kMailOptions = kRecordOptions | KSIMP_OPT_MESSAGE_DATE_RANGE |
                                  KSIMP_OPT_FULL_HEADER | KSIMP_OPT_SAVE_ATTACHMENTS;
constexpr uint32_t kDelimitedOptions = kRecordOptions | KSIMP_OPT_STORED_SETTINGS;
constexpr uint32_t kPdfOptions = KSIMP_OPT_FILE_ORIGIN | KSIMP_OPT_IMPORT_LOCATION |
                                 KSIMP_OPT_DOCUMENT_DELIMITER | KSIMP_OPT_ENTRY_FORM |
                                 KSIMP_OPT_SORT_ORDER | KSIMP_OPT_STORED_SETTINGS |
                                 KSIMP_OPT_SAVE_ATTACHMENTS;
constexpr uint32_t kAnyFileOptions = KSIMP_OPT_IMPORT_LOCATION | KSIMP_OPT_ENTRY_FORM |
                                     KSIMP_OPT_DATE_RANGE | KSIMP_OPT_SORT_ORDER |
                                     KSIMP_OPT_SAVE_ATTACHMENTS;
// Types reached through another type's wizard or a mail source bring their
// own options: every one is kept.
constexpr uint32_t kEveryOption = 0xFFF;

// The masks users and hosts have always seen.
static_assert(kDocumentOptions == 1151 && kRecordOptions == 123 && kKestroOptions == 114 &&
              kMailOptions == 1915 && kDelimitedOptions == 251 && kPdfOptions == 1231 &&
              kAnyFileOptions == 1130);

constexpr std::string_view kKestroDosDescription =
    "ASCII files that were exported from Kestro using the Kestro Dos file type.  These files "
    "contain special characters that indicate where documents are to end when imported.";
constexpr std::string_view kDelimitedTextDescription =
    "ASCII text files that contain fielded information.  Fields could be sperated (delimited) by "
    "a comma, a tab, a space, or a character you define.  Fields could also be of fixed width, "
    "each one starting at the same position on every line.  You choose the delimiters or the "
    "field positions in the import wizard.";

using enum Offered;

// Texts are kept exactly as users have always seen them: misspellings,
// double blanks and trailing blanks included.
constexpr FileTypeRow kRows[] = {
    // ---- Offered, in the order shown -------------------------------------
    {KSIMP_TYPE_TEXT, "text", "Text (*.txt)",
     "Standard ASCII text files that do not contain formatting or fielded information.", "txt",
     kDocumentOptions, kYes, true, "CIMPTextImport", Create<CIMPTextImport>, false, 0},
    {KSIMP_TYPE_KESTRO_DOS, "dos", "Kestro DOS (*.txt) ", kKestroDosDescription, "txt",
     kRecordOptions, kYes, false, "CIMPKestroDos", Create<CIMPKestroDos>, false, 0},
    {KSIMP_TYPE_KESTRO, "kst", "Kestro 5 (*.kst)", "Kestro version 5.x file format", "kst",
     kKestroOptions, kYes, false, "CIMPKestro4", Create<CIMPKestro4>, false, 0},
    {KSIMP_TYPE_EUDORA, "eudora", "Eudora Light, Pro (*.mbx)",
     "These are the mailbox messages from Eudora E-Mail software.", "mbx", kMailOptions, kYes, true,
     "CIMPEudoraImport", Create<CIMPEudoraImport>, false, 0},
    {KSIMP_TYPE_MBX, "mbx", "Email - PocoMail, Netscape (*.mbx)",
     "These are the E-Mail messages in the standard MBX format. Software that uses this format "
     "include PocoMail, Netscape, etc.",
     "mbx", kMailOptions, kYes, true, "CIMPEmailImport", Create<CIMPEmailImport>, false, 0},
    {KSIMP_TYPE_DELIMITED, "csv", "Text Delimited (*.csv, *.dat, *.prn *.txt)",
     kDelimitedTextDescription, "csv dat prn txt", kDelimitedOptions, kYes, true,
     "CDelimitedImport", Create<CDelimitedImport>, false, 0},
    {KSIMP_TYPE_HTML, "html", "HTML (*.htm, *.html)",
     "These are files in Hypertext Markup Language.  This format is commonly used in Web Pages.",
     "htm html", kDocumentOptions, kYes, true, "CIMPHtmlImport", Create<CIMPHtmlImport>, false, 0},
    {KSIMP_TYPE_WORD, "doc", "Microsoft Word 95, 97, 2000, 2002 (*.doc)",
     "These are Word files. This includes Word for  Windows 95, Word 97, and Word 2000.  ", "doc",
     kDocumentOptions, kYes, false, "CIMPWord8Import", Create<CIMPWord8Import>, false, 0},
    {KSIMP_TYPE_WORDPERFECT, "wpd", "Corel WordPerfect (*.wpd)",
     "These are Corel WordPerfect for Windows files.", "wpd", kDocumentOptions, kYes, false,
     "CIMPWordPerfectImport", Create<CIMPWordPerfectImport>, false, 0},
    {KSIMP_TYPE_RTF, "rtf", "Rich Text Format (*.rtf)",
     "Thses are Rich Text Formatted files.  This is a generic word processing format.  These "
     "files could contain formatted text, graphics, tables, etc.",
     "rtf", kDocumentOptions, kYes, true, "CIMPRtfImport", Create<CIMPRtfImport>, false, 0},
    // The FoxPro entry's extensions and number come from the driver found:
    // these for Visual FoxPro, "dbf" and KSIMP_TYPE_FOXPRO for plain FoxPro.
    {KSIMP_TYPE_VISUAL_FOXPRO, "foxpro", "Microsoft FoxPro, Visual FoxPro (*.dbf, *.dbc)",
     "This are Microsoft FoxPro and Visual FoxPro data base files.", "dbf dbc", kRecordOptions,
     kWhenFoxProDriverIs, false, "CImpADO", Create<CImpADO>, false, 0},
    {KSIMP_TYPE_PDF, "pdf", "Adobe Acrobat (*.pdf)", "These are Adobe Acrobat files.", "pdf",
     kPdfOptions, kYes, false, "CPDFImport", Create<CPDFImport>, false, 0},
    {KSIMP_TYPE_OUTLOOK_EXPRESS, "dbx", "Outlook Express (*.dbx)",
     "These are Microsoft Outlook Express 5.x mailbox files.", "dbx", kMailOptions, kYes, false,
     "COutlookExpress", Create<COutlookExpress>, false, 0},
    {KSIMP_TYPE_ANY_FILE, "any", "Any File - Link or Attach Only (*.*)",
     "All other file types.  Allows importing of the file(s) as attachments or provide a "
     "hypertext link to the file(s)",
     "*", kAnyFileOptions, kYes, false, "COtherImport", Create<COtherImport>, false, 0},
    // ---- Reached by number ------------------------------------------------
    {KSIMP_TYPE_FIXED_WIDTH, "fixed", "", "", "", kEveryOption, kNo, false, "CIMPFixedImport",
     Create<CIMPFixedImport>, false, 0},
    {KSIMP_TYPE_WFW, "wfw", "", "", "", kEveryOption, kNo, false, "CIMPWFWImport",
     Create<CIMPWFWImport>, false, 0},
    {KSIMP_TYPE_ACCESS, "access", "", "", "", kEveryOption, kNo, false, "CImpADO", Create<CImpADO>,
     false, 0},
    {KSIMP_TYPE_EXCEL, "excel", "", "", "", kEveryOption, kNo, false, "CImpADO", Create<CImpADO>,
     false, 0},
    {KSIMP_TYPE_DBASE, "dbase", "", "", "", kEveryOption, kNo, false, "CImpADO", Create<CImpADO>,
     false, 0},
    {KSIMP_TYPE_PARADOX, "paradox", "", "", "", kEveryOption, kNo, false, "CImpADO", Create<CImpADO>,
     false, 0},
    {KSIMP_TYPE_ACCEPTED_1003, "", "", "", "", kEveryOption, kNo, false, nullptr, nullptr, true, 0},
    {KSIMP_TYPE_ACCEPTED_1007, "", "", "", "", kEveryOption, kNo, false, nullptr, nullptr, true, 0},
    {KSIMP_TYPE_OUTLOOK_FOLDER, "outlook", "", "", "", kEveryOption, kNo, false,
     "CIMPOutlookImport", Create<CIMPOutlookImport>, false, 0},
    {KSIMP_TYPE_WIN_THREE, "write", "", "", "", kEveryOption, kNo, false, "CIMPWinThree",
     Create<CIMPWinThree>, false, 0},
    {KSIMP_TYPE_IMAP_SERVER, "imap", "", "", "", kEveryOption, kNo, false, "CImapEmail",
     Create<CImapEmail>, false, 0},
    // Picked from the lists of database tables; each imports as its family.
    {KSIMP_TYPE_DBASE_ALIAS, "", "", "", "", kEveryOption, kNo, false, nullptr, nullptr, false,
     KSIMP_TYPE_DBASE},
    {KSIMP_TYPE_EXCEL_ALIAS, "", "", "", "", kEveryOption, kNo, false, nullptr, nullptr, false,
     KSIMP_TYPE_EXCEL},
    {KSIMP_TYPE_PARADOX_ALIAS, "", "", "", "", kEveryOption, kNo, false, nullptr, nullptr, false,
     KSIMP_TYPE_PARADOX},
    // ---- Added by this library ----------------------------------------------
    {KSIMP_TYPE_ODBC, "odbc", "", "", "", kEveryOption, kNo, false, "CImpADO", Create<CImpADO>,
     false, 0},
    // Mail kept one message to a file: a Maildir folder (cur/, new/ and its
    // Maildir++ sub-folders) and a single saved message (".eml").  Left out
    // of the list the user is offered, which stays as users have always
    // known it; hosts name them.
    {KSIMP_TYPE_MAILDIR, "maildir", "", "", "", kEveryOption, kNo, false, "CIMPMaildirImport",
     Create<CIMPMaildirImport>, false, 0},
    {KSIMP_TYPE_EML, "eml", "", "", "", kEveryOption, kNo, false, "CIMPEmlImport",
     Create<CIMPEmlImport>, false, 0},
};

bool SameIgnoringCase(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

std::span<const FileTypeRow> FileTypeRows() {
  return kRows;
}

const FileTypeRow* FindFileType(int32_t number) {
  const auto* row = std::find_if(std::begin(kRows), std::end(kRows),
                                 [number](const FileTypeRow& r) { return r.number == number; });
  return row == std::end(kRows) ? nullptr : row;
}

const FileTypeRow* FindFileTypeByShortName(std::string_view short_name) {
  if (short_name.empty()) return nullptr;
  const auto* row = std::find_if(
      std::begin(kRows), std::end(kRows),
      [short_name](const FileTypeRow& r) { return SameIgnoringCase(r.short_name, short_name); });
  return row == std::end(kRows) ? nullptr : row;
}

int32_t ImportedAs(int32_t number) {
  const FileTypeRow* row = FindFileType(number);
  return row != nullptr && row->imported_as != 0 ? row->imported_as : number;
}

}  // namespace ks::registry

CreatedImporter CreateImporterFromTable(int32_t file_type) {
  CreatedImporter created;
  const ks::registry::FileTypeRow* row = ks::registry::FindFileType(file_type);
  if (row == nullptr) return created;
  if (row->accepted_without_importer) {
    created.outcome = CreatedImporter::Outcome::kAcceptedWithoutImporter;
  } else if (row->create != nullptr) {
    created.importer = row->create();
    if (created.importer) created.outcome = CreatedImporter::Outcome::kCreated;
  }
  return created;
}
