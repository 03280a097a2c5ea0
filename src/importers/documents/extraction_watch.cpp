#include "importers/documents/extraction_watch.h"

void ManualResetEvent::Set() {
  {
    const std::lock_guard<std::mutex> hold(mutex_);
    set_ = true;
  }
  changed_.notify_all();
}

bool ManualResetEvent::IsSet() {
  const std::lock_guard<std::mutex> hold(mutex_);
  return set_;
}

bool ManualResetEvent::WaitFor(std::chrono::microseconds timeout) {
  std::unique_lock<std::mutex> hold(mutex_);
  return changed_.wait_for(hold, timeout, [this] { return set_; });
}

void ManualResetEvent::Wait() {
  std::unique_lock<std::mutex> hold(mutex_);
  changed_.wait(hold, [this] { return set_; });
}

ExtractionWatch::ExtractionWatch(Hooks hooks, std::chrono::microseconds poll)
    : hooks_(std::move(hooks)), poll_(poll), thread_([this] { Watch(); }) {}

void ExtractionWatch::Finish() {
  if (!thread_.joinable()) return;
  stop_.Set();
  done_.Wait();
  thread_.join();
}

void ExtractionWatch::Watch() {
  int reported = 0;
  bool aborted = false;
  while (!stop_.IsSet()) {
    if (hooks_.import_aborted()) {
      aborted = true;
      break;
    }
    const int processed = hooks_.bytes_processed();
    if (processed != reported && processed >= 0) {
      hooks_.report_progress(static_cast<uint64_t>(processed));
      reported = processed;
    }
    stop_.WaitFor(poll_);
  }
  if (aborted) {
    // The library forgets a request made before its extraction began, and
    // the extraction may begin just after the thread: the request is made
    // again each poll until the extraction has returned.
    abort_sent_ = true;
    do {
      hooks_.abort_extraction();
    } while (!stop_.WaitFor(poll_));
  }
  done_.Set();
}
