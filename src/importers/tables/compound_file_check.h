// Checks of a compound (OLE) file made before freexl opens it: freexl
// trusts the lengths a hostile file gives and reads past its buffers, and
// it says nothing of an encrypted workbook.
#pragma once

#include <string>

namespace ks::tables {

// Empty when the directory of the compound file at `path` is sound enough
// for freexl (sector size, FAT and directory chains inside the file, every
// entry's name within its 64 bytes and its stream no larger than the file);
// otherwise what is wrong.
std::string CompoundDirectoryFault(const std::string& path);

// Whether the workbook stream begins with BOF and then FILEPASS (0x002F):
// an encrypted or obfuscated .xls.  Every 64-byte block of the file is
// looked at, as a stream starts on a sector or, in the mini stream, a mini
// sector.
bool HasFilePassRecord(const std::string& path);

}  // namespace ks::tables
