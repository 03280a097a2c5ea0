#include "core/import_base.h"

int CIMPImportBase::Prepare(uint32_t import_handle, const SETDATA& record) {
  import_handle_ = import_handle;
  options_ = record;
  return 1;
}
