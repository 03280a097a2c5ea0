// A stand-in for the Word converter module, built as libKSWord.so in a
// folder of its own, so that the import's handling of a converter can be
// tested where the real one would never misbehave.  What it does is read
// from $KS_FAKE_CONVERTER:
//   "copy:TEXT"      writes TEXT as a copy in the temporary import folder
//   "name:PATH"      names PATH as its copy without writing anything
//   "wait:FOLDER"    writes a copy, creates FOLDER/converting, and waits up
//                    to ten seconds for FOLDER/go before returning
//   anything else    fails (-1)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string WriteCopy(const std::string& text) {
  const char* tmpdir = std::getenv("TMPDIR");
  const std::string folder = std::string(tmpdir != nullptr && *tmpdir ? tmpdir : "/tmp") + "/KSTmpImp";
  ::mkdir(folder.c_str(), 0700);
  std::string name = folder + "/fakeXXXXXX";
  const int fd = ::mkstemp(name.data());
  if (fd < 0) return {};
  const ssize_t written = ::write(fd, text.data(), text.size());
  ::close(fd);
  return written == static_cast<ssize_t>(text.size()) ? name : std::string();
}

int Answer(const std::string& path, char* out) {
  if (path.empty() || path.size() >= 2048) return -1;
  std::memcpy(out, path.c_str(), path.size() + 1);
  return 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int ConvertWord(const char*, char* out) {
  const char* how = std::getenv("KS_FAKE_CONVERTER");
  const std::string mode = how != nullptr ? how : "";
  if (mode.rfind("copy:", 0) == 0) return Answer(WriteCopy(mode.substr(5)), out);
  if (mode.rfind("name:", 0) == 0) return Answer(mode.substr(5), out);
  if (mode.rfind("wait:", 0) == 0) {
    const std::string folder = mode.substr(5);
    const std::string copy = WriteCopy("converted while the import was aborted");
    ::close(::open((folder + "/converting").c_str(), O_CREAT | O_WRONLY, 0600));
    for (int i = 0; i < 1000 && ::access((folder + "/go").c_str(), F_OK) != 0; ++i) ::usleep(10000);
    return Answer(copy, out);
  }
  return -1;
}
