// ksimp docs / show / search: what a database holds, in database order.
// Documents are numbered 1, 2, 3... in that order, the numbers a person
// types; the engine's identifiers are shown only when asked for (--ids,
// --json).  A number is a position: documents added before it move it.
#include <fmt/format.h>

#include <memory>
#include <unordered_map>

#include "commands.h"
#include "database.h"
#include "json_text.h"

namespace ksimp {
namespace {

const char* KindName(int32_t kind) {
  switch (kind) {
    case KSENG_KIND_TEXT:
      return "text";
    case KSENG_KIND_FORM:
      return "form";
    case KSENG_KIND_ENTRY:
      return "entry";
    case KSENG_KIND_RICHTEXT:
      return "richtext";
    default:
      return "unknown";
  }
}

void PrintJson(const Database& db, size_t number, uint64_t id) {
  const int32_t kind = EngGetDocumentKind(db.handle(), id);
  std::string line = fmt::format("{{\"number\":{},\"id\":{},\"kind\":{},\"kind_name\":\"{}\"",
                                 number, id, kind, KindName(kind));
  const std::string name = db.Name(id);
  if (!name.empty()) line += ",\"name\":" + JsonString(name);
  line += ",\"text\":" + JsonString(db.Text(id));
  line += ",\"attachments\":[";
  bool first = true;
  for (const auto& a : db.Attachments(id)) {
    line += first ? "" : ",";
    line += JsonString(a.name);
    first = false;
  }
  line += "]";
  if (kind == KSENG_KIND_ENTRY) {
    line += ",\"fields\":{";
    first = true;
    for (const auto& f : db.Fields(id)) {
      line += first ? "" : ",";
      line += JsonString(f.name) + ":" + JsonString(f.value);
      first = false;
    }
    line += "}";
  }
  line += "}\n";
  fmt::print("{}", line);
}

// One line per document: number, identifier (with --ids), kind, size and
// the start of its text.
void PrintSummary(const Database& db, size_t number, uint64_t id, bool with_id) {
  const std::string text = db.Text(id);
  std::string preview;
  for (char c : text.substr(0, 60)) preview += (c == '\r' || c == '\n' || c == '\t') ? ' ' : c;
  const std::string id_column = with_id ? fmt::format("id {:<19} ", id) : std::string();
  fmt::print("{:>6}  {}{:<8} {:>9} bytes  {}\n", number, id_column,
             KindName(EngGetDocumentKind(db.handle(), id)), text.size(), preview);
}

// The number of each document, by its identifier.
std::unordered_map<uint64_t, size_t> NumbersById(const Database& db) {
  std::unordered_map<uint64_t, size_t> numbers;
  size_t number = 0;
  for (uint64_t id : db.Documents()) numbers.emplace(id, ++number);
  return numbers;
}

constexpr const char* kIdsHelp = "Show the engine's document identifiers too";

}  // namespace

void AddDocsCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    bool json = false;
    bool ids = false;
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand(
      "docs", "List the documents in database order, numbered 1, 2, 3... as show, search and "
              "export number them");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  AddCredentialOptions(*cmd, options->credentials, "the database");
  cmd->add_flag("--json", options->json,
                "One JSON object per document and line, with its number and identifier");
  cmd->add_flag("--ids", options->ids, kIdsHelp);
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ, options->credentials);
    const auto ids = db.Documents();
    size_t number = 0;
    for (uint64_t id : ids) {
      ++number;
      if (options->json) {
        PrintJson(db, number, id);
      } else {
        PrintSummary(db, number, id, options->ids);
      }
    }
    if (!options->json) fmt::print("{} document(s)\n", ids.size());
  });
}

void AddShowCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    uint64_t number = 0;
    bool by_id = false;
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("show", "Print one document's text exactly");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  AddCredentialOptions(*cmd, options->credentials, "the database");
  cmd->add_option("N", options->number, "Document number (as 'docs' lists it)")->required();
  cmd->add_flag("--ids", options->by_id,
                "N is the engine's document identifier (as 'docs --ids' lists it)");
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ, options->credentials);
    const uint64_t id = options->by_id ? options->number : db.DocumentNumbered(options->number);
    if (id == 0 || EngGetDocumentKind(db.handle(), id) == 0) {
      throw HostError(fmt::format("{} has no document {}{}", options->path,
                                  options->by_id ? "with identifier " : "", options->number));
    }
    const std::string text = db.Text(id);
    fwrite(text.data(), 1, text.size(), stdout);
  });
}

void AddSearchCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::string query;
    bool ids = false;
    CredentialOptions credentials;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand(
      "search", "Full-text search: the documents found, by their numbers, in database order");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  AddCredentialOptions(*cmd, options->credentials, "the database");
  cmd->add_option("QUERY", options->query, "Words to find (full-text query syntax)")->required();
  cmd->add_flag("--ids", options->ids, kIdsHelp);
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ, options->credentials);
    const int64_t count = EngSearch(db.handle(), options->query.c_str(), nullptr, 0);
    if (count < 0) {
      throw HostError(fmt::format("search failed: {}", EngineErrorText(EngLastError(0))));
    }
    std::vector<uint64_t> ids(static_cast<size_t>(count));
    const int64_t again = EngSearch(db.handle(), options->query.c_str(), ids.data(),
                                    static_cast<uint32_t>(ids.size()));
    ids.resize(static_cast<size_t>(std::min(again < 0 ? 0 : again, count)));
    const auto numbers = NumbersById(db);
    for (uint64_t id : ids) {
      const auto found = numbers.find(id);
      PrintSummary(db, found == numbers.end() ? 0 : found->second, id, options->ids);
    }
    fmt::print("{} match(es)\n", ids.size());
  });
}

}  // namespace ksimp
