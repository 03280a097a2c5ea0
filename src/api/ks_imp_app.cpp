#include "api/ks_imp_app.h"

CKS_ImpApp& CKS_ImpApp::Instance() {
  // Built on first use, thread-safely; lives until the process ends.
  static CKS_ImpApp app;
  return app;
}
