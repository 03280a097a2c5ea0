// ImportHandleRecord: everything the session keeps for one live import
// handle: its database, who closes it, the progress counters the host polls
// and the per-import values importers share.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// How importers write numbers when they have no better source (currency and
// separators); the values are the defaults every new import starts with.
struct NumberFormatDefaults {
  char currency_symbol = '$';
  char second_symbol = ' ';
  int32_t symbol_flag = 1;
  char decimal_point = '.';
  char thousands_separator = ',';
  int32_t decimal_digits = 0;
  int32_t negative_format = 0;
};

struct ImportHandleRecord {
  uint32_t handle = 0;    // non-zero, unique among live records
  uint32_t database = 0;  // engine handle of the target database
  uint64_t reserved = 0;
  bool owns_database = false;  // the session opened it and closes it after the run
  bool aborted = false;        // set by KSIMP_Abort, tested by importers
  uint32_t total_bytes = 0;    // grows as sources are queued
  uint32_t current_bytes = 0;  // advanced by the running importer
  uint32_t documents_added = 0;
  // The database's documents when the run began: after a failure the count
  // of documents added is what the database really holds beyond them.
  uint64_t documents_at_start = 0;
  NumberFormatDefaults number_format;
  // Free for importers to share between files of one import.
  int32_t importer_value = 0;
  std::pair<int32_t, int32_t> importer_pair{0, 0};
  int64_t importer_value64 = 0;
  // Where attachment files named in messages may also be read from, and a
  // size limit the host set (0: the configuration's, or the default).
  std::vector<std::string> attachment_folders;
  uint64_t attachment_max_bytes = 0;
  // The character set of the sources queued from now on (SETDATA::charset).
  std::string source_charset;
  // Whether IMAP sources queued from now on check their server's
  // certificate (SETDATA::imap_verify_certificate).
  bool imap_verify_certificate = true;
  // The credentials of the protected sources queued from now on
  // (SETDATA::source_credentials).
  std::string source_credentials;
  // How far the file being imported was taken, as its importer said
  // (ImportContext::SetImportedUpTo); none until it says, and none when
  // what it took could not be committed.
  std::optional<uint64_t> imported_up_to;
};
