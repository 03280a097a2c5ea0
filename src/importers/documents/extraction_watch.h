// ExtractionWatch: the progress thread of one extraction by a converter
// library that blocks the importing thread (the PDF import's GetPDFData).
// While the extraction runs it passes the library's progress on to the
// import and, when the import is aborted, asks the library to stop.
//
// The thread and the importing thread meet only through two events and the
// hooks: the importing thread signals the stop event once the extraction
// returned and waits for the done event, which the thread signals last; the
// thread is then joined, so it never outlives its file.
//
// The thread waits on the stop event for one poll interval between looks
// instead of spinning with a zero sleep: progress and an abort are still
// seen within a millisecond, and no processor is kept busy beside the
// extraction.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

// A manual-reset event: once set it stays set.
class ManualResetEvent {
 public:
  void Set();
  bool IsSet();
  // Waits until it is set or `timeout` passed; whether it is set.
  bool WaitFor(std::chrono::microseconds timeout);
  void Wait();

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool set_ = false;  // guarded by mutex_
};

class ExtractionWatch {
 public:
  static constexpr std::chrono::microseconds kPollInterval{1000};

  // What the thread reads and calls; each may be called from the thread.
  struct Hooks {
    std::function<int()> bytes_processed;           // the library's progress in this file
    std::function<void()> abort_extraction;         // asks the library to stop
    std::function<bool()> import_aborted;           // the import's abort flag
    std::function<void(uint64_t)> report_progress;  // bytes of this file handled so far
  };

  // Starts the thread.
  explicit ExtractionWatch(Hooks hooks, std::chrono::microseconds poll = kPollInterval);
  ExtractionWatch(const ExtractionWatch&) = delete;
  ExtractionWatch& operator=(const ExtractionWatch&) = delete;
  ~ExtractionWatch() { Finish(); }

  // Signals the stop event, waits for the done event and joins the thread.
  // Called once the extraction returned; again, it does nothing.
  void Finish();

  // Whether the thread saw the import aborted and asked the library to stop.
  bool AbortSent() const { return abort_sent_; }

 private:
  void Watch();

  Hooks hooks_;
  std::chrono::microseconds poll_;
  ManualResetEvent stop_;
  ManualResetEvent done_;
  bool abort_sent_ = false;  // written by the thread before done_, read after it
  std::thread thread_;       // last: starts once everything above is made
};
