// The error list: every import error recorded, in order, against the import
// handle it belongs to (0 before a handle exists).  Entries outlive their
// handle so that the host can ask for the error after KSIMP_Import returned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

struct tagERRORS {
  uint32_t import_handle;
  uint32_t code;
};

class ImportErrorList {
 public:
  void Record(uint32_t import_handle, uint32_t code);

  // The FIRST code recorded for the handle (later ones do not replace it;
  // hosts rely on seeing the original cause), or the internal-error code
  // when there is none.
  uint32_t LastError(uint32_t import_handle) const;

  // How many codes the handle has, and the first code recorded after the
  // first `skipped` of them (KSIMP_ERR_NONE when there is none): what one
  // file of a run recorded.
  size_t Count(uint32_t import_handle) const;
  uint32_t FirstAfter(uint32_t import_handle, size_t skipped) const;

  // The entries of `from` become entries of `to`, in place: what was
  // recorded under a handle of the import's own reaches the host's handle
  // (the profiles of an e-mail import).
  void Reassign(uint32_t from, uint32_t to);

 private:
  // The list is written by the importing thread and read by the host after
  // the import; the mutex only keeps a careless host from a data race.
  mutable std::mutex mutex_;
  std::vector<tagERRORS> entries_;  // guarded by mutex_
};
