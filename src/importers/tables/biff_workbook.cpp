#include "importers/tables/biff_workbook.h"

#include <unordered_map>

#include "importers/tables/biff_records.h"
#include "importers/tables/table_source.h"

namespace ks::tables {
namespace {

constexpr uint16_t kFilePass = 0x002F;
constexpr uint16_t kCodePage = 0x0042;
constexpr uint16_t kDateMode = 0x0022;
constexpr uint16_t kBoundSheet = 0x0085;
constexpr uint16_t kFormat = 0x041E;
constexpr uint16_t kXf = 0x00E0;
constexpr uint16_t kSst = 0x00FC;

}  // namespace

BiffWorkbook ReadBiffWorkbook(StreamBytes& stream) {
  BiffWorkbook book;
  BiffRecords records(stream, 0);
  if (!records.Next()) ThrowDamagedBiff("the workbook stream is empty");
  const uint16_t first = records.Type();
  if (first == 0x0009 || first == 0x0209 || first == 0x0409) {
    throw TableError(TableError::Kind::kDamaged, "Excel 2 to 4 workbooks are not read; save it as .xls or .xlsx");
  }
  if (first != biff::kBof || records.Data().size() < 4) ThrowDamagedBiff("the workbook stream does not start with BOF");
  book.biff8 = BiffLe16(records.Data(), 0) >= 0x0600;

  std::unordered_map<uint16_t, NumberKind> formats;
  std::vector<uint16_t> xf_formats;
  while (records.Next() && records.Type() != biff::kEof) {
    const std::string_view data = records.Data();
    switch (records.Type()) {
      case kFilePass:
        throw TableError(TableError::Kind::kPasswordProtected, "the workbook is protected by a password");
      case kCodePage:
        if (data.size() >= 2) book.code_page = CharsetOfCodePage(BiffLe16(data, 0));
        break;
      case kDateMode:
        if (data.size() >= 2 && BiffLe16(data, 0) == 1) book.system = DateSystem::k1904;
        break;
      case kBoundSheet: {
        if (data.size() < 7) ThrowDamagedBiff("a sheet entry is too short");
        BiffSheet sheet;
        sheet.offset = static_cast<uint32_t>(BiffLe16(data, 0) | static_cast<uint32_t>(BiffLe16(data, 2)) << 16);
        const uint8_t kind = static_cast<uint8_t>(data[5]);
        BiffData fields(records, book.biff8, book.code_page);
        fields.Skip(6);
        fields.String(true, sheet.name);
        if (kind == 0) book.sheets.push_back(std::move(sheet));  // charts, macro and module sheets hold no table
        break;
      }
      case kFormat: {
        if (data.size() < 3) break;
        const uint16_t id = BiffLe16(data, 0);
        BiffData fields(records, book.biff8, book.code_page);
        fields.Skip(2);
        std::string code;
        fields.String(!book.biff8, code);
        formats[id] = KindOfFormatCode(code);
        break;
      }
      case kXf:
        if (data.size() >= 4) xf_formats.push_back(BiffLe16(data, 2));
        break;
      case kSst: {
        BiffData fields(records, book.biff8, book.code_page);
        fields.U32();
        const uint32_t unique = fields.U32();
        // Each string takes three bytes at least: the stream bounds the count.
        book.strings.reserve(static_cast<size_t>(std::min<uint64_t>(unique, stream.Size() / 3)));
        // The table may hold fewer strings than it counts: it ends with
        // its last CONTINUE record.
        for (uint32_t i = 0; i < unique && fields.MoreFollows(); ++i) fields.String(false, book.strings.emplace_back());
        break;
      }
      default:
        break;
    }
  }
  for (const uint16_t id : xf_formats) {
    const auto found = formats.find(id);
    book.style_kinds.push_back(found != formats.end() ? found->second : KindOfBuiltInFormat(id));
  }
  return book;
}

}  // namespace ks::tables
