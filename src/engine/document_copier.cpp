// DocumentCopier: forms first, then one document at a time.
#include "engine/document_copier.h"

#include <string>
#include <vector>

namespace ks::engine {

void PrepareCopy(Database& source, Database& target) {
  for (uint64_t form = source.First(Walk::kForms); form != 0;
       form = source.Next(form, Walk::kForms)) {
    std::string name = source.Name(form);
    if (target.Find(KSENG_KIND_FORM, name) != 0) continue;
    std::vector<std::string> fields;
    for (FieldValue& field : source.Fields(form)) fields.push_back(std::move(field.name));
    target.CreateForm(name, fields);
  }
}

uint64_t CopyDocument(Database& source, uint64_t id, Database& target, const Placement& placement) {
  return target.InsertRecord(source.ReadRecord(id), placement);
}

}  // namespace ks::engine
