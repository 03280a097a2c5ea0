// Import error codes; those a host may test for are the KSIMP_ERR_ names of
// ks_imp.h, defined there once.  Each code is also the identifier of its message text
// (message_texts.cpp), so a host can show any code with
// KSIMP_ImportErrorToString.
#pragma once

#include <cstdint>

#include "ks_imp.h"

namespace error_code {

inline constexpr uint32_t kNoFileSets = KSIMP_ERR_NO_FILE_SETS;
inline constexpr uint32_t kNoDatabaseFileName = KSIMP_ERR_NO_FILENAME;
inline constexpr uint32_t kCannotOpenDatabase = KSIMP_ERR_OPEN_DATABASE;
inline constexpr uint32_t kInvalidDatabaseHandle = KSIMP_ERR_BAD_DATABASE_HANDLE;
inline constexpr uint32_t kParentWindowRequired = KSIMP_ERR_NO_PARENT_WINDOW;
inline constexpr uint32_t kNoFileNameToImport = KSIMP_ERR_NO_IMPORT_FILE;
inline constexpr uint32_t kCannotSetParameters = KSIMP_ERR_SET_PARAMETERS;
inline constexpr uint32_t kCannotSaveDocument = KSIMP_ERR_SAVE_DOCUMENT;
inline constexpr uint32_t kTableImportFailed = 1000;  // has no text
inline constexpr uint32_t kNoError = KSIMP_ERR_NONE;
inline constexpr uint32_t kInternal = KSIMP_ERR_INTERNAL;
inline constexpr uint32_t kHandleNotInImportSet = KSIMP_ERR_NO_SUCH_HANDLE;
inline constexpr uint32_t kComboBoxMemory = 11003;
inline constexpr uint32_t kUnspecified = KSIMP_ERR_UNSPECIFIED;
inline constexpr uint32_t kCannotQueueImport = KSIMP_ERR_QUEUE;
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
inline constexpr uint32_t kEndOfFile = KSIMP_ERR_END_OF_FILE;
inline constexpr uint32_t kWrongFileType = KSIMP_ERR_WRONG_FILE_TYPE;
inline constexpr uint32_t kEngineError = KSIMP_ERR_ENGINE;
inline constexpr uint32_t kCannotOpenFile = KSIMP_ERR_OPEN_FILE;
inline constexpr uint32_t kNoAdoInstance = 11025;
inline constexpr uint32_t kPasswordProtected = 11026;
inline constexpr uint32_t kUnknownCharset = KSIMP_ERR_UNKNOWN_CHARSET;
inline constexpr uint32_t kEntryNotMade = 12000;  // has no text: the engine made no entry of a form
inline constexpr uint32_t kUnsupportedFileType = KSIMP_ERR_UNSUPPORTED_TYPE;
inline constexpr uint32_t kWordPerfectMissing = 12006;
inline constexpr uint32_t kWordMissing = 12007;
inline constexpr uint32_t kCannotCopyEntryForm = 14000;
inline constexpr uint32_t kCannotOpenEntryForm = 14001;
inline constexpr uint32_t kDatabaseHasNoTables = 14003;
inline constexpr uint32_t kFileHasNoTable = 14004;
inline constexpr uint32_t kEncryptedPdf = 14049;
inline constexpr uint32_t kNoText40003 = 40003;  // has no text

// Another Kestro database as a source: why it is not imported.
inline constexpr uint32_t kNotAKestro5File = 130;
inline constexpr uint32_t kKestroFileError = 131;
inline constexpr uint32_t kKestroFileNeedsConversion = 14039;
inline constexpr uint32_t kKestroBackupFailed = 14040;
inline constexpr uint32_t kKestro4File = 14042;
// Protected databases: a wrong login group or password, asked again.
inline constexpr uint32_t kPasswordInvalid = 14085;
// Not an error: the first name of an entry-form list, "No" entry form.
inline constexpr uint32_t kNoEntryForm = 42;

// Not an error: the progress text shown while attachments are read.
inline constexpr uint32_t kImportingAttachments = 14127;

// E-mail profiles: the messages of a profile's run, reported per profile (a
// profile's name for the first %s), and those of keeping the profile list.
inline constexpr uint32_t kProfileMailboxEmpty = KSIMP_MSG_PROFILE_MAILBOX_EMPTY;
inline constexpr uint32_t kProfileNothingInRange = KSIMP_MSG_PROFILE_NOTHING_IN_RANGE;
inline constexpr uint32_t kProfileCannotOpenMailbox = KSIMP_MSG_PROFILE_NO_MAILBOX;
inline constexpr uint32_t kProfileNothingNew = KSIMP_MSG_PROFILE_NOTHING_NEW;
inline constexpr uint32_t kProfileCannotOpenDatabase = KSIMP_MSG_PROFILE_NO_DATABASE;
inline constexpr uint32_t kProfileNoWriteRights = KSIMP_MSG_PROFILE_NO_RIGHTS;
inline constexpr uint32_t kProfileIncomplete = KSIMP_ERR_PROFILE_INCOMPLETE;
inline constexpr uint32_t kProfileDuplicateName = KSIMP_ERR_PROFILE_DUPLICATE;
inline constexpr uint32_t kProfileNameCharacters = KSIMP_ERR_PROFILE_NAME_CHARACTERS;
inline constexpr uint32_t kProfileNameInvalid = KSIMP_ERR_PROFILE_NAME_INVALID;
inline constexpr uint32_t kProfileConfirmDelete = KSIMP_MSG_PROFILE_DELETE;
inline constexpr uint32_t kProfilesFailed = KSIMP_ERR_PROFILES_FAILED;
inline constexpr uint32_t kProfileFileExists = 14412;  // the wizard's question before overwriting

// IMAP servers: why a server could not be read.  The server's name fills
// the placeholder in the log line; the log also holds libcurl's or the
// server's own words.
inline constexpr uint32_t kImapCannotConnect = KSIMP_ERR_IMAP_CONNECT;
inline constexpr uint32_t kImapLoginRefused = KSIMP_ERR_IMAP_LOGIN;
inline constexpr uint32_t kImapTimedOut = KSIMP_ERR_IMAP_TIMEOUT;
inline constexpr uint32_t kImapConnectionLost = KSIMP_ERR_IMAP_CONNECTION_LOST;
inline constexpr uint32_t kImapCertificate = KSIMP_ERR_IMAP_CERTIFICATE;
inline constexpr uint32_t kImapNoTls = KSIMP_ERR_IMAP_NO_TLS;
inline constexpr uint32_t kImapMailbox = KSIMP_ERR_IMAP_MAILBOX;
inline constexpr uint32_t kImapBadReply = KSIMP_ERR_IMAP_BAD_REPLY;

}  // namespace error_code
