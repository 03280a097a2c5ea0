// Import error codes.  Each code is also the identifier of its message text
// (message_texts.cpp), so a host can show any code with
// KSIMP_ImportErrorToString.
#pragma once

#include <cstdint>

namespace error_code {

inline constexpr uint32_t kNoFileSets = 90;
inline constexpr uint32_t kNoDatabaseFileName = 91;
inline constexpr uint32_t kCannotOpenDatabase = 92;
inline constexpr uint32_t kInvalidDatabaseHandle = 93;
inline constexpr uint32_t kParentWindowRequired = 94;
inline constexpr uint32_t kNoFileNameToImport = 95;
inline constexpr uint32_t kCannotSetParameters = 97;
inline constexpr uint32_t kCannotSaveDocument = 98;
inline constexpr uint32_t kTableImportFailed = 1000;  // has no text
inline constexpr uint32_t kNoError = 11000;
inline constexpr uint32_t kInternal = 11001;
inline constexpr uint32_t kHandleNotInImportSet = 11002;
inline constexpr uint32_t kComboBoxMemory = 11003;
inline constexpr uint32_t kUnspecified = 11004;
inline constexpr uint32_t kCannotQueueImport = 11005;
inline constexpr uint32_t kFileNotFound = 11006;
inline constexpr uint32_t kBadPath = 11007;
inline constexpr uint32_t kTooManyOpenFiles = 11008;
inline constexpr uint32_t kAccessDenied = 11009;
inline constexpr uint32_t kInvalidFile = 11010;
inline constexpr uint32_t kRemoveCurrentDirectory = 11011;
inline constexpr uint32_t kDirectoryFull = 11012;
inline constexpr uint32_t kBadSeek = 11013;
inline constexpr uint32_t kHardwareError = 11014;
inline constexpr uint32_t kSharingViolation = 11015;
inline constexpr uint32_t kLockViolation = 11016;
inline constexpr uint32_t kDiskFull = 11017;
inline constexpr uint32_t kEndOfFile = 11019;
inline constexpr uint32_t kWrongFileType = 11020;
inline constexpr uint32_t kEngineError = 11021;
inline constexpr uint32_t kCannotOpenFile = 11024;
inline constexpr uint32_t kNoAdoInstance = 11025;
inline constexpr uint32_t kPasswordProtected = 11026;
inline constexpr uint32_t kMailImportFailed = 12000;  // has no text
inline constexpr uint32_t kUnsupportedFileType = 12003;
inline constexpr uint32_t kWordPerfectMissing = 12006;
inline constexpr uint32_t kWordMissing = 12007;
inline constexpr uint32_t kCannotCopyEntryForm = 14000;
inline constexpr uint32_t kCannotOpenEntryForm = 14001;
inline constexpr uint32_t kDatabaseHasNoTables = 14003;
inline constexpr uint32_t kFileHasNoTable = 14004;
inline constexpr uint32_t kEncryptedPdf = 14049;
inline constexpr uint32_t kNoText40003 = 40003;  // has no text

// Not an error: the progress text shown while attachments are read.
inline constexpr uint32_t kImportingAttachments = 14127;

}  // namespace error_code
