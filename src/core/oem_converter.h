// Converts text of the DOS (OEM) code page to the system's character set
// (UTF-8).  The OEM code page is CP437 unless another single-byte code page
// is named.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace ks::core {

class OemConverter {
 public:
  // Throws std::runtime_error when the code page is unknown to iconv.
  explicit OemConverter(const std::string& code_page = "CP437");

  // Appends the UTF-8 form of `oem` to `out`.
  void AppendConverted(std::string_view oem, std::string& out) const;

  std::string Convert(std::string_view oem) const {
    std::string out;
    AppendConverted(oem, out);
    return out;
  }

 private:
  // UTF-8 form of each byte; a byte the code page does not define stays as
  // it is, so that nothing is lost.
  std::array<std::string, 256> table_;
};

}  // namespace ks::core
