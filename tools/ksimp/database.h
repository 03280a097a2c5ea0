// An open engine database for the host's commands: opens through the import
// library (which asks for the login group and password of a protected
// database, password_prompt.h), closes on destruction, and turns engine
// failures into plain-word errors.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ks_eng5.h"
#include "password_prompt.h"

namespace ksimp {

// A failure the host reports in plain words with the given exit status.
struct HostError : std::runtime_error {
  HostError(const std::string& message, int status = 1)
      : std::runtime_error(message), exit_status(status) {}
  int exit_status;
};

// Plain-word text for an engine error code.
std::string EngineErrorText(uint32_t code);

class Database {
 public:
  // `credentials`: what the command line gave for a protected database.
  Database(const std::string& path, int access_mode, const CredentialOptions& credentials = {});
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  uint32_t handle() const { return handle_; }
  const std::string& path() const { return path_; }

  std::string Text(uint64_t id) const;
  std::string Name(uint64_t id) const;
  // Identifiers of the documents in database order: document number n
  // (what ksimp shows a person) is the n-th, from 1.
  std::vector<uint64_t> Documents() const;
  // The identifier of document number `number`, 0 when there is none.
  uint64_t DocumentNumbered(uint64_t number) const;

  struct Attachment {
    std::string name;
    uint32_t kind = 0;
    uint64_t size = 0;
  };
  std::vector<Attachment> Attachments(uint64_t id) const;
  std::vector<char> AttachmentBytes(uint64_t id, uint32_t index, uint64_t size) const;

  struct Field {
    std::string name;
    std::string value;
  };
  std::vector<Field> Fields(uint64_t id) const;

 private:
  std::string path_;
  uint32_t handle_ = 0;
};

}  // namespace ksimp
