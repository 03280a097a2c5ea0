#include "core/file_types.h"

namespace file_type {

int32_t ImportedAs(int32_t file_type) {
  switch (file_type) {
    case 1099:
      return 770;
    case 1219:
      return 21;
    case 1300:
      return 703;
    default:
      return file_type;
  }
}

}  // namespace file_type
