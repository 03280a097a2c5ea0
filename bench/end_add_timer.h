// Times the engine's EngEndAdd (its last commit and the full-text index) for
// whoever calls it, the import library included: a benchmark that includes
// this header defines EngEndAdd itself, links with -rdynamic so that the
// library binds to that definition, and passes each call on to the engine's.
// Include it in exactly one file of a benchmark program.
#pragma once

#include <dlfcn.h>

#include <time.h>

#include <chrono>
#include <cstdint>

namespace bench {

inline double end_add_seconds = 0;  // time spent in EngEndAdd since the last reset
// The processor time of the calling thread in EngEndAdd since the last reset:
// steadier than the time on the clock on a machine that other work shares.
inline double end_add_cpu_seconds = 0;

inline double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

}  // namespace bench

extern "C" __attribute__((visibility("default"))) int32_t EngEndAdd(uint32_t db, int32_t kind,
                                                                    uint64_t id, char marker,
                                                                    uint32_t* added) {
  using EndAdd = int32_t (*)(uint32_t, int32_t, uint64_t, char, uint32_t*);
  static const auto engine = reinterpret_cast<EndAdd>(dlsym(RTLD_NEXT, "EngEndAdd"));
  const auto start = std::chrono::steady_clock::now();
  const double cpu_start = bench::ThreadCpuSeconds();
  const int32_t result = engine(db, kind, id, marker, added);
  bench::end_add_seconds +=
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  bench::end_add_cpu_seconds += bench::ThreadCpuSeconds() - cpu_start;
  return result;
}
