#include "core/oem_converter.h"

#include <gtest/gtest.h>

namespace ks::core {
namespace {

TEST(OemConverter, Cp437LettersBecomeUtf8AsciiStaysAndUnknownCodePagesAreRefused) {
  const OemConverter converter;
  // 0x81 u-umlaut, 0x9C pound sign, 0xE1 sharp s, 0xB3 box drawing.
  EXPECT_EQ(converter.Convert("Gr\xE1\x81"
                              "e \x9C\xB3\r\n"),
            "Gr\u00DF\u00FCe \u00A3\u2502\r\n");
  EXPECT_EQ(converter.Convert(std::string("a\0b\f", 4)), std::string("a\0b\f", 4));
  EXPECT_THROW(OemConverter("NO-SUCH-CODEPAGE"), std::runtime_error);
}

}  // namespace
}  // namespace ks::core
