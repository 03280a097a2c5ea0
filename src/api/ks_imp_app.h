// CKS_ImpApp: the library's application object.  It exists once per process,
// from the first call into the library until the process ends, and owns the
// one import session; no other state of the library is global.
#pragma once

#include "api/import_session.h"

class CKS_ImpApp {
 public:
  static CKS_ImpApp& Instance();

  CImportSession& Session() { return session_; }

  // Help file shown by the dialogs, relative to the host's folder.
  static constexpr const char* kHelpFile = "./kestro.hlp";

 private:
  CKS_ImpApp() = default;

  CImportSession session_;
};
