/* A plain C host: proves that ks_imp.h and ks_eng5.h are C, that the shared
 * libraries export what they declare, and that a few calls behave through
 * them.  argv[1] is a folder where a database may be created. */
#include <stdio.h>
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
  if (failures == 0) printf("c_header_test: all checks passed\n");
  return failures == 0 ? 0 : 1;
}
