// The words an import log gives when the engine refuses to store what an
// import hands it, so that a user learns why documents are missing and which
// files were involved: a disk (or file size limit) that is full in the
// message table's own words (11017), any other cause by the engine's code.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

// The cause of a refusal, `engine_error` being the engine's last error read
// right after the call that failed: "The disk is full." for KSENG_ERR_FULL,
// else a sentence that names the engine's code.
std::string EngineRefusalCause(uint32_t engine_error);

// The log line for a document of `source` that the database of engine
// handle `database` did not take.
std::string DocumentRefusedText(uint32_t engine_error, uint32_t database, std::string_view source);

// The log line for a commit of the documents imported from `source` (empty
// when not known) that failed: those not committed before are lost.
std::string CommitFailedText(uint32_t engine_error, uint32_t database, std::string_view source);
