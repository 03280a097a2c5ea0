#include "importers/kestro/kestro_source.h"

#include "ks_eng5.h"

namespace ks::kestro {

ks::core::Credentials SplitSourceCredentials(std::string_view joined) {
  const size_t cr = joined.find('\r');
  if (cr == std::string_view::npos) return {std::string(), std::string(joined)};
  return {std::string(joined.substr(cr + 1)), std::string(joined.substr(0, cr))};
}

std::string JoinSourceCredentials(std::string_view login_group, std::string_view password) {
  if (login_group.empty() && password.empty()) return {};
  std::string joined(password);
  joined += '\r';
  joined += login_group;
  return joined;
}

KestroSource::KestroSource(const std::string& path, std::string_view credentials,
                           ks::core::PasswordPrompt* prompt) {
  if (credentials.empty()) {
    database_ = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
  } else {
    const ks::core::Credentials given = SplitSourceCredentials(credentials);
    database_ = EngOpenDatabaseEx(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ,
                                  given.password.c_str(), given.login_group.c_str());
    if (database_ == 0) {
      credentials_rejected_ = EngLastError(0) == KSENG_ERR_PASSWORD_WRONG;
      // Credentials that do not open it may belong to another file: the
      // source may need none.
      database_ = EngOpenDatabase(path.c_str(), KSENG_ACCESS_READ, KSENG_SHARE_READ);
    }
  }
  if (database_ != 0) return;
  engine_error_ = EngLastError(0);
  if (engine_error_ != KSENG_ERR_PASSWORD_REQUIRED || prompt == nullptr) return;
  const ks::core::DatabaseOpening asked =
      ks::core::RunPasswordPrompt(*prompt, path, KSENG_ACCESS_READ, KSENG_SHARE_READ);
  database_ = asked.database;
  engine_error_ = asked.engine_error;
}

KestroSource::~KestroSource() {
  Close();
}

void KestroSource::Close() {
  if (closed_) return;
  closed_ = true;
  EngCloseDatabase(database_);
  database_ = 0;
}

}  // namespace ks::kestro
