// ksimp docs / show / search: what a database holds, in database order.
#include <fmt/format.h>

#include <memory>

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

void PrintJson(const Database& db, uint64_t id) {
  const int32_t kind = EngGetDocumentKind(db.handle(), id);
  std::string line =
      fmt::format("{{\"id\":{},\"kind\":{},\"kind_name\":\"{}\"", id, kind, KindName(kind));
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

// One line per document: identifier, kind, size and the start of its text.
void PrintSummary(const Database& db, size_t ordinal, uint64_t id) {
  const std::string text = db.Text(id);
  std::string preview;
  for (char c : text.substr(0, 60)) preview += (c == '\r' || c == '\n' || c == '\t') ? ' ' : c;
  fmt::print("{:>6}  id {:<8} {:<8} {:>9} bytes  {}\n", ordinal, id,
             KindName(EngGetDocumentKind(db.handle(), id)), text.size(), preview);
}

}  // namespace

void AddDocsCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    bool json = false;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("docs", "List the documents in database order");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  cmd->add_flag("--json", options->json, "One JSON object per document and line");
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ);
    const auto ids = db.Documents();
    size_t ordinal = 0;
    for (uint64_t id : ids) {
      if (options->json) {
        PrintJson(db, id);
      } else {
        PrintSummary(db, ++ordinal, id);
      }
    }
    if (!options->json) fmt::print("{} document(s)\n", ids.size());
  });
}

void AddShowCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    uint64_t id = 0;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("show", "Print one document's text exactly");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  cmd->add_option("ID", options->id, "Document identifier (as 'docs' lists it)")->required();
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ);
    if (EngGetDocumentKind(db.handle(), options->id) == 0) {
      throw HostError(fmt::format("{} has no document {}", options->path, options->id));
    }
    const std::string text = db.Text(options->id);
    fwrite(text.data(), 1, text.size(), stdout);
  });
}

void AddSearchCommand(CLI::App& parent) {
  struct Options {
    std::string path;
    std::string query;
  };
  auto options = std::make_shared<Options>();
  CLI::App* cmd = parent.add_subcommand("search", "Full-text search; matches in database order");
  cmd->add_option("DB.kst", options->path, "Database")->required();
  cmd->add_option("QUERY", options->query, "Words to find (full-text query syntax)")->required();
  cmd->callback([options] {
    Database db(options->path, KSENG_ACCESS_READ);
    const int64_t count = EngSearch(db.handle(), options->query.c_str(), nullptr, 0);
    if (count < 0) {
      throw HostError(fmt::format("search failed: {}", EngineErrorText(EngLastError(0))));
    }
    std::vector<uint64_t> ids(static_cast<size_t>(count));
    const int64_t again = EngSearch(db.handle(), options->query.c_str(), ids.data(),
                                    static_cast<uint32_t>(ids.size()));
    ids.resize(static_cast<size_t>(std::min(again < 0 ? 0 : again, count)));
    size_t ordinal = 0;
    for (uint64_t id : ids) PrintSummary(db, ++ordinal, id);
    fmt::print("{} match(es)\n", ids.size());
  });
}

}  // namespace ksimp
