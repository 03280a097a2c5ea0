// A scripted importer for the import-run tests: it returns the results it is
// told to, records every file it is given, and may run extra work (advancing
// counters, touching the engine) while it "imports".
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "core/import_base.h"
#include "registry/file_type_table.h"

struct StubFileSeen {
  std::string file_name;
  int32_t file_type = 0;
  bool first_file = false;
  int64_t carry_in = 0;
  bool ran = false;
};

struct StubScript {
  int prepare_result = 1;
  std::vector<int> run_results;  // per run, in order; 1 once they run out
  int64_t carry_out = 0;         // the carry each importer hands back
  std::function<void(uint32_t import_handle, const SETDATA& options)> while_running;
  std::vector<StubFileSeen> seen;
  std::vector<int32_t> types_asked;
  size_t runs = 0;
};

class StubImporter : public CIMPImportBase {
 public:
  explicit StubImporter(StubScript& script) : script_(script) {}

  int CheckFile(const std::string&) override { return 1; }
  int IntegerProperty() const override { return 0; }

  int Prepare(ImportContext& context) override {
    context_ = &context;
    const SETDATA& record = context.options();
    script_.seen.push_back({record.file_name, record.file_type, false, 0, false});
    return script_.prepare_result;
  }

  // A stand-in imports nothing it could leave behind.
  bool ImportedWhole() const override { return true; }

  int Run() override {
    const uint32_t import_handle = context_->import_handle();
    const SETDATA& options = context_->options();
    StubFileSeen& seen = script_.seen.back();
    seen.ran = true;
    seen.first_file = IsFirstFile();
    seen.carry_in = GetCarry();
    if (script_.while_running) script_.while_running(import_handle, options);
    SetCarry(script_.carry_out);
    const size_t run = script_.runs++;
    return run < script_.run_results.size() ? script_.run_results[run] : 1;
  }

 protected:
  int ImportSource() override { return 1; }

 private:
  StubScript& script_;
  ImportContext* context_ = nullptr;
};

// A factory that gives a StubImporter for every type.
inline ImporterFactory StubFactory(StubScript& script) {
  return [&script](int32_t file_type) {
    script.types_asked.push_back(file_type);
    CreatedImporter created;
    created.outcome = CreatedImporter::Outcome::kCreated;
    created.importer = std::make_unique<StubImporter>(script);
    return created;
  };
}

// A record for `handle` with the options a dialog would pass.
inline SETDATA QueuedFile(uint32_t handle, std::string file_name, int32_t file_type = 1000) {
  SETDATA record;
  record.import_handle = handle;
  record.file_name = std::move(file_name);
  record.file_type = file_type;
  return record;
}

// Every field of a queue record in argument order, so that whole records
// compare (and print) at once.
inline auto Fields(const SETDATA& r) {
  return std::tie(r.import_handle, r.file_name, r.file_type, r.import_location, r.use_entry_form,
                  r.entry_form_name, r.use_named_document, r.named_document, r.delimiter_flags,
                  r.delimiter_lines, r.delimiter_string, r.file_origin_ansi,
                  r.auto_field_recognition, r.date_from, r.sort_order, r.use_stored_settings,
                  r.date_to, r.full_header, r.message_date_from, r.save_attachments,
                  r.message_date_to, r.filter_name, r.delete_after_import, r.import_attachments,
                  r.imap_server, r.imap_user, r.imap_password, r.imap_mailbox, r.firewall_server,
                  r.firewall_user, r.firewall_password, r.firewall_type, r.imap_port);
}
