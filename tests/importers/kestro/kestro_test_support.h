// Another Kestro database to import from, and a host's password prompt that
// answers from a script, for the tests of protected databases and of the
// Kestro file import.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "ks_eng5.h"
#include "ks_imp.h"

// Creates the database `path` (protected when `login_group` is not empty)
// holding one plain document per text, in order.
inline void CreateSourceDatabase(const std::string& path, const std::vector<std::string>& texts,
                                 const char* login_group = nullptr,
                                 const char* password = nullptr) {
  ASSERT_NE(EngCreateDatabase(path.c_str(), login_group, password, 1), 0);
  const uint32_t db =
      login_group == nullptr
          ? EngOpenDatabase(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE)
          : EngOpenDatabaseEx(path.c_str(), KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE, password,
                              login_group);
  ASSERT_NE(db, 0u);
  char marker = '[';
  ASSERT_NE(EngBeginAdd(db, &marker), 0);
  uint64_t last = 0;
  for (const std::string& text : texts) {
    ASSERT_EQ(EngAddDocument(db, text.c_str(), 1, static_cast<uint32_t>(text.size()),
                             KSENG_KIND_TEXT, KSENG_LOC_END, last, nullptr, 0),
              KSENG_STATUS_TAKEN);
    ASSERT_EQ(EngSaveDocument(db, nullptr, nullptr, 1, &last), KSENG_STATUS_TAKEN);
  }
  ASSERT_NE(EngEndAdd(db, 0, 0, marker, nullptr), 0);
  EngCloseDatabase(db);
}

// A password prompt that gives its answers in turn and then cancels, and
// keeps what it was shown.
struct ScriptedPrompt {
  struct Ask {
    std::string path;
    uint32_t reason = 0;
    std::string message;
    std::string proposed_group;
  };

  std::vector<std::pair<std::string, std::string>> answers;  // login group, password
  std::vector<Ask> asked;

  static uint32_t Answer(void* host_data, const char* path, uint32_t reason, const char* message,
                         char* login_group, int32_t login_group_size, char* password,
                         int32_t password_size) {
    auto& self = *static_cast<ScriptedPrompt*>(host_data);
    self.asked.push_back({path, reason, message, login_group});
    EXPECT_EQ(password[0], '\0') << "the password buffer comes empty";
    if (self.asked.size() > self.answers.size()) return 0;
    const auto& [group, secret] = self.answers[self.asked.size() - 1];
    if (static_cast<int32_t>(group.size()) >= login_group_size ||
        static_cast<int32_t>(secret.size()) >= password_size) {
      return 0;
    }
    std::memcpy(login_group, group.c_str(), group.size() + 1);
    std::memcpy(password, secret.c_str(), secret.size() + 1);
    return 1;
  }
};

// Makes `prompt` the process's password prompt for one test.
class PromptInstalled {
 public:
  explicit PromptInstalled(ScriptedPrompt& prompt) {
    KSIMP_SetPasswordPrompt(&ScriptedPrompt::Answer, &prompt);
  }
  ~PromptInstalled() { KSIMP_SetPasswordPrompt(nullptr, nullptr); }
  PromptInstalled(const PromptInstalled&) = delete;
  PromptInstalled& operator=(const PromptInstalled&) = delete;
};
