/* A plain C host: proves that ks_imp.h and ks_eng5.h are C, that the shared
 * libraries export what they declare, and that a few calls behave through
 * them.  argv[1] is a folder where a database may be created. */
#define _POSIX_C_SOURCE 200809L /* setenv */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "ks_eng5.h"
#include "ks_imp.h"

static int failures = 0;

static void check(int ok, const char* what) {
  if (!ok) {
    fprintf(stderr, "FAILED: %s\n", what);
    ++failures;
  }
}

static void check_import_interface(void) {
  char text[128];
  check(KSIMP_InitImportUsingFileName(NULL) == 0, "KSIMP_InitImportUsingFileName(NULL) returns 0");
  check(KSIMP_GetLastImportError(0) == KSIMP_ERR_NO_FILENAME,
        "KSIMP_GetLastImportError(0) is 91 after a NULL file name");
  check(KSIMP_ImportErrorToString(91, text, (int32_t)sizeof text) == 1 &&
            strcmp(text, "You must supply an Kestro filename.") == 0,
        "KSIMP_ImportErrorToString(91) gives its exact text");
  check(KSIMP_GetTotalBytes(12345) == 0, "KSIMP_GetTotalBytes of an unknown handle is 0");
  check(KSIMP_GetFileOutcome(12345, 0, text, (int32_t)sizeof text, NULL, NULL, NULL, NULL) == 0,
        "KSIMP_GetFileOutcome of an unknown handle is 0");
  check(KSIMP_GetFileLog(12345, 0, text, (int32_t)sizeof text) == KSIMP_LOG_NONE,
        "KSIMP_GetFileLog of an unknown handle is KSIMP_LOG_NONE");
  check(KSIMP_SetSourceCharset(12345, "KOI8-R") == 0,
        "KSIMP_SetSourceCharset of an unknown handle is 0");
  check(KSIMP_SetSourceCredentials(12345, "Staff", "secret") == 0,
        "KSIMP_SetSourceCredentials of an unknown handle is 0");
}

/* A C host's password prompt: answers once with a group and a password. */
static uint32_t answer_once(void* host_data, const char* path, uint32_t reason,
                            const char* message, char* login_group, int32_t login_group_size,
                            char* password, int32_t password_size) {
  int* asked = (int*)host_data;
  (void)path;
  (void)message;
  if (++*asked > 1 || reason != KSENG_ERR_PASSWORD_REQUIRED) return 0;
  snprintf(login_group, (size_t)login_group_size, "%s", "Staff");
  snprintf(password, (size_t)password_size, "%s", "secret");
  return 1;
}

static void check_password_prompt(const char* folder) {
  char path[1024];
  uint32_t db, error = 0;
  int asked = 0;
  snprintf(path, sizeof path, "%s/c_header_protected.kst", folder);
  remove(path);
  /* The login group that opens it is remembered in a configuration of the
   * test's own, never the user's. */
  setenv("KESTRO_CONFIG_DIR", folder, 1);
  check(EngCreateDatabase(path, "Staff", "secret", 0) != 0, "a protected database is created");
  KSIMP_SetPasswordPrompt(answer_once, &asked);
  db = KSIMP_OpenDatabase(path, KSENG_ACCESS_READ, KSENG_SHARE_READ, &error);
  KSIMP_SetPasswordPrompt(NULL, NULL);
  check(db != 0 && asked == 1, "KSIMP_OpenDatabase opens it through a C callback");
  if (db != 0) EngCloseDatabase(db);
  remove(path);
  snprintf(path, sizeof path, "%s/kestro.conf", folder);
  remove(path);
  snprintf(path, sizeof path, "%s/kestro.conf.lock", folder);
  remove(path);
}

static void check_engine_round_trip(const char* folder) {
  char path[1024];
  uint32_t db;
  snprintf(path, sizeof path, "%s/c_header_test.kst", folder);
  remove(path);
  check(EngCreateDatabase(path, NULL, NULL, 0) != 0, "EngCreateDatabase creates a database");
  db = EngOpenDatabase(path, KSENG_ACCESS_READWRITE, KSENG_SHARE_READWRITE);
  check(db != 0, "EngOpenDatabase opens the new database");
  if (db != 0) check(EngCloseDatabase(db) != 0, "EngCloseDatabase closes it");
  remove(path);
}

int main(int argc, char** argv) {
  check_import_interface();
  check_engine_round_trip(argc > 1 ? argv[1] : ".");
  check_password_prompt(argc > 1 ? argv[1] : ".");
  if (failures == 0) printf("c_header_test: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
