// SETDATA: one queued source and its import options, exactly as the host
// handed them to KSIMP_AddFileToImport (argument numbers in the comments).
// The import session keeps these in call order; an importer reads its options
// from the copy it is prepared with.
#pragma once

#include <cstdint>
#include <string>

struct SETDATA {
  uint32_t import_handle = 0;  // 1
  std::string file_name;       // 2: one name, or several joined by "|"
  int32_t file_type = 0;       // 3: selects the importer

  int32_t import_location = 1;         // 4: location code, as ks_imp.h lists
  int32_t use_entry_form = 0;          // 5
  std::string entry_form_name;         // 6: kept only when 5 is non-zero
  int32_t use_named_document = 0;      // 7
  std::string named_document;          // 8: kept only when 7 is non-zero
  int32_t delimiter_flags = 0;         // 9: delimiter bits, as ks_imp.h lists
  int32_t delimiter_lines = 0;         // 10: the N of "every N lines"
  std::string delimiter_string;        // 11
  int32_t file_origin_ansi = 1;        // 12: non-zero ANSI, 0 OEM
  int32_t auto_field_recognition = 0;  // 13
  std::string date_from;               // 14
  int32_t sort_order = 0;              // 15: 0 ascending, 1 descending
  int32_t use_stored_settings = 0;     // 16
  std::string date_to;                 // 17
  int32_t full_header = 0;             // 18
  std::string message_date_from;       // 19
  int32_t save_attachments = 0;        // 20
  std::string message_date_to;         // 21
  std::string filter_name;             // 22
  int32_t delete_after_import = 0;     // 23: honoured only inside the temporary import folder
  int32_t import_attachments = 0;      // 24: mail: attachments into the document text

  std::string imap_server;        // 25
  std::string imap_user;          // 26
  std::string imap_password;      // 27
  std::string imap_mailbox;       // 28
  std::string firewall_server;    // 29
  std::string firewall_user;      // 30
  std::string firewall_password;  // 31
  int32_t firewall_type = 0;      // 32
  int32_t imap_port = 0;          // 33: low 16 bits only

  // Not an argument: set by an e-mail profile run that imports only what
  // is new (ImportOptions::start_offset).
  uint64_t start_offset = 0;
  // Not arguments: IMAP sources.  Whether the server's certificate is
  // checked (KSIMP_SetImapCertificateCheck, or the profile); and for a
  // profile that imports only what is new, the UIDs to take: above
  // imap_after_uid up to imap_last_uid (0: to the end), of the mailbox
  // whose UIDVALIDITY was imap_uid_validity when the run looked (0: any).
  bool imap_verify_certificate = true;
  uint32_t imap_uid_validity = 0;
  uint32_t imap_after_uid = 0;
  uint32_t imap_last_uid = 0;
  // Not an argument: the character set the host named for the sources it
  // queued after KSIMP_SetSourceCharset ("" reads by the origin, "auto"
  // detects it per file).
  std::string charset;
  // Not an argument: the login group and password of a protected Kestro
  // database the host named with KSIMP_SetSourceCredentials for the sources
  // it queued after, joined by one CR in the order the engine's open takes
  // them (password, CR, login group); empty when none.
  std::string source_credentials;
};
