#include "docx_document.h"

#include <zip.h>

#include <cstring>
#include <memory>
#include <optional>
#include <pugixml.hpp>
#include <utility>
#include <vector>

#include "word_error.h"

namespace ks::word {
namespace {

// A part larger than this is no real document's: it is refused rather than
// read into memory.
constexpr zip_uint64_t kLargestPart = zip_uint64_t{512} << 20;

std::string_view LocalName(const char* name) {
  const char* colon = std::strrchr(name, ':');
  return colon != nullptr ? colon + 1 : name;
}

// Elements whose content is never text of the document: deleted or moved
// revisions, field codes, the properties, and the fallback that repeats an
// alternate content's text.
bool SkippedElement(std::string_view name) {
  return name == "del" || name == "moveFrom" || name == "instrText" || name == "delText" ||
         name == "delInstrText" || name == "pPr" || name == "rPr" || name == "Fallback" ||
         name == "sectPr" || name == "tblPr" || name == "trPr" || name == "tcPr";
}

void EndLine(std::string& text) {
  text += "\r\n";
}

// What an element adds before its children are read.
void Open(std::string_view name, std::string& text) {
  if (name == "tab" || name == "ptab") {
    text += '\t';
  } else if (name == "br" || name == "cr") {
    EndLine(text);
  } else if (name == "noBreakHyphen") {
    text += '-';
  }
}

// What an element adds after its children.
void Close(std::string_view name, std::string& text) {
  if (name == "p") {
    EndLine(text);
  } else if (name == "tc") {
    text += '\t';
  } else if (name == "tr") {
    if (!text.empty() && text.back() == '\t') text.pop_back();
    EndLine(text);
  }
}

// Walks the tree without recursion, so that deep nesting cannot exhaust the
// stack.
void AppendTextOf(const pugi::xml_node& root, std::string& text) {
  std::vector<std::pair<pugi::xml_node, bool>> pending;  // node, children already pushed
  pending.emplace_back(root, false);
  while (!pending.empty()) {
    auto& [node, expanded] = pending.back();
    if (node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata) {
      const std::string_view parent = LocalName(node.parent().name());
      if (parent == "t") text += node.value();
      pending.pop_back();
      continue;
    }
    if (node.type() != pugi::node_element && node.type() != pugi::node_document) {
      pending.pop_back();
      continue;
    }
    const std::string_view name = LocalName(node.name());
    if (expanded) {
      Close(name, text);
      pending.pop_back();
      continue;
    }
    if (SkippedElement(name)) {
      pending.pop_back();
      continue;
    }
    expanded = true;
    Open(name, text);
    const pugi::xml_node parent = node;  // `node` dangles once the stack grows
    std::vector<pugi::xml_node> children;
    for (pugi::xml_node child = parent.first_child(); child; child = child.next_sibling()) {
      children.push_back(child);
    }
    for (auto child = children.rbegin(); child != children.rend(); ++child) pending.emplace_back(*child, false);
  }
}

// A zip archive closed with its owner.
struct ArchiveCloser {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, ArchiveCloser>;

// The bytes of the part `name`; none when the package has no such part.
std::optional<std::string> ReadPart(zip_t* archive, const char* name) {
  const zip_int64_t index = zip_name_locate(archive, name, ZIP_FL_NOCASE);
  if (index < 0) return std::nullopt;
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_stat_index(archive, static_cast<zip_uint64_t>(index), 0, &stat) != 0 ||
      (stat.valid & ZIP_STAT_SIZE) == 0) {
    throw WordError(std::string("the package part ") + name + " cannot be read");
  }
  if (stat.size > kLargestPart) throw WordError(std::string("the package part ") + name + " is too large");
  zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(index), 0);
  if (file == nullptr) throw WordError(std::string("the package part ") + name + " cannot be read (encrypted or damaged)");
  std::string bytes(static_cast<size_t>(stat.size), '\0');
  const zip_int64_t read = zip_fread(file, bytes.data(), bytes.size());
  zip_fclose(file);
  if (read < 0 || static_cast<zip_uint64_t>(read) != stat.size) {
    throw WordError(std::string("the package part ") + name + " is damaged");
  }
  return bytes;
}

}  // namespace

void AppendDocxPartText(std::string_view xml, std::string& text) {
  pugi::xml_document document;
  // The default options leave the document type out: no entity it declares
  // is ever expanded.
  const pugi::xml_parse_result parsed =
      document.load_buffer(xml.data(), xml.size(), pugi::parse_default, pugi::encoding_auto);
  if (!parsed) throw WordError(std::string("the document's XML is damaged: ") + parsed.description());
  AppendTextOf(document, text);
}

std::string ReadDocxText(const std::string& path) {
  int error = 0;
  Archive archive(zip_open(path.c_str(), ZIP_RDONLY, &error));
  if (!archive) throw WordError("the file is no readable zip package");
  std::optional<std::string> body = ReadPart(archive.get(), "word/document.xml");
  if (!body) throw WordError("the package holds no Word document");
  std::string text;
  AppendDocxPartText(*body, text);
  for (const char* notes : {"word/footnotes.xml", "word/endnotes.xml"}) {
    if (std::optional<std::string> part = ReadPart(archive.get(), notes)) AppendDocxPartText(*part, text);
  }
  return text;
}

}  // namespace ks::word
