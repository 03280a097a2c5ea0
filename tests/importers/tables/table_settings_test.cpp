// The strings a table import is driven by: the settings string the table
// dialogs write, the connection strings built for each kind of file, and the
// text values become.
#include <gtest/gtest.h>

#include <optional>
#include <tuple>

#include "importers/tables/ado_util.h"
#include "importers/tables/connection_string.h"
#include "importers/tables/table_import_settings.h"
#include "importers/tables/value_text.h"
#include "ks_imp.h"

namespace ks::tables {
namespace {

// What ParseTableImportSettings makes of `text`, as one value: the
// connection, the source path, the tables, the single table and the field
// names; none where the text is refused.
using ParsedSettings = std::tuple<std::string, std::string, std::vector<std::string>, std::string,
                                  std::vector<std::string>>;
std::optional<ParsedSettings> Parsed(const std::string& text) {
  TableImportSettings s;
  if (!ParseTableImportSettings(text, s)) return std::nullopt;
  return ParsedSettings{s.connection, s.source_path, s.tables, s.single_table, s.field_names};
}

TEST(TableImportSettings, TableListAndSingleTable) {
  EXPECT_EQ(Parsed("conn\x1b/d/a.mdb\x1bPeople;end_tables\x1bName\r\nTown\r\n"),
            ParsedSettings("conn", "/d/a.mdb", {"People"}, "People", {"Name", "Town"}));
  EXPECT_EQ(Parsed("conn\x1b\x1b" "A;B;end_tables"), ParsedSettings("conn", "", {"A", "B"}, "", {}));
  // The connection alone: every table, the columns' own names.
  EXPECT_EQ(Parsed("DSN=x"), ParsedSettings("DSN=x", "", {}, "", {}));
  EXPECT_EQ(Parsed("\x1b/d/a.mdb\x1b" "A;end_tables"), std::nullopt);
  // Table names with blanks survive the string the dialogs write.
  const TableImportSettings written{"c", "/p", {"T1", "T 2"}, "", {"x", "y"}};
  EXPECT_EQ(Parsed(TableImportSettingsString(written)), ParsedSettings("c", "/p", {"T1", "T 2"}, "", {"x", "y"}));
}

TEST(ConnectionString, BracesKeysAndBareElements) {
  const ConnectionString c("ODBC;DSN='';DRIVER={Drv; with {x}} and = };DBQ=/d;UID=admin");
  EXPECT_EQ(c.Get("driver"), "Drv; with {x} and = ");  // braces keep their blanks
  EXPECT_EQ(c.Get("dbq"), "/d");
  EXPECT_EQ(c.Get("DSN"), "''");
  EXPECT_EQ(c.Get("ODBC"), "");
  EXPECT_EQ(c.Get("PWD"), std::nullopt);
  EXPECT_EQ(ConnectionString("dbq=" + ConnectionString::Quote("/a b;c}")).Get("DBQ"), "/a b;c}");
  // What reaches the log never shows a password.
  EXPECT_EQ(ConnectionString("DRIVER={PostgreSQL Unicode};Pwd={s;cret};UID=me;password=x").Displayed(),
            "DRIVER={PostgreSQL Unicode};Pwd=***;UID=me;password=***");
}

TEST(CAdoUtil, FindsDriversBySearchTextInListOrder) {
  const TableDrivers with_old_drivers({"SQLite3", "Microsoft dBase Driver (*.dbf)",
                                       "Microsoft FoxPro Driver (*.dbf)", "Microsoft Access X"},
                                      {});
  // The first search text finds nothing; the older driver's text does.
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kDbase, "/d/t.dbf", with_old_drivers),
            "DRIVER={Microsoft dBase Driver (*.dbf)};DBQ=/d;SourceType=DBF;UID=admin");
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kFoxPro, "/d/t.dbf", with_old_drivers),
            "ODBC;DSN='';DRIVER={Microsoft FoxPro Driver (*.dbf)};DBQ=/d;SourceType=DBF;UID=admin");
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kAccess, "/d/my db.mdb", with_old_drivers),
            "driver={Microsoft Access X};dbq={/d/my db.mdb}");
  EXPECT_EQ(CAdoUtil::BuildConnectionString(TableSourceKind::kExcel, "/d/x.xls", with_old_drivers), "");
  EXPECT_EQ(TableSourceKindOf(KSIMP_TYPE_VISUAL_FOXPRO), TableSourceKind::kFoxPro);
  EXPECT_EQ(TableSourceKindOf(KSIMP_TYPE_TEXT), std::nullopt);
}

// The drivers' tests give these functions' common cases (stored dBase
// numbers, Visual FoxPro currency and dates, Excel day serials); here the
// edges.
TEST(ValueText, NumbersDatesAndBooleansIgnoreTheLocale) {
  std::string out;
  const auto text = [&out](auto append) {
    out.clear();
    append();
    return out;
  };
  EXPECT_EQ(text([&] { AppendDecimalText("+7.00 ", out); }), "7");
  EXPECT_EQ(text([&] { AppendDecimalText("-3.", out); }), "-3");
  EXPECT_EQ(text([&] { AppendScaled(-5000, 4, out); }), "-0.5");
  EXPECT_EQ(text([&] { AppendScaled(20000, 4, out); }), "2");
  EXPECT_EQ(text([&] { AppendDouble(0.1, out); }), "0.1");
  EXPECT_EQ(text([&] { AppendDouble(-0.0, out); }), "0");
  EXPECT_EQ(text([&] { AppendBoolean(false, out); }), "False");
  // Day serials from 1899-12-30, the time of day also before it.
  EXPECT_EQ(text([&] { AppendSerialDateTime(45000.75, false, out); }), "2023-03-15 18:00:00");
  EXPECT_EQ(text([&] { AppendSerialDateTime(-1.25, false, out); }), "1899-12-29 06:00:00");
  EXPECT_EQ(text([&] { AppendSerialDateTime(1.9999999999, false, out); }), "1900-01-01");
  for (const int64_t day : {-800000L, -1L, 0L, 59L, 11016L, 2932896L}) {
    EXPECT_EQ(DaysSinceEpoch(DateFromDaysSinceEpoch(day)), day);
  }
  EXPECT_FALSE(IsValidDate({1900, 2, 29}));
  EXPECT_TRUE(IsValidDate({2000, 2, 29}));
}

}  // namespace
}  // namespace ks::tables
