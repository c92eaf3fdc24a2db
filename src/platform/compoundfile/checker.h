// A strict look at the structure of a compound file, by code of its own: of what reads and writes them it uses the layout of a
// directory entry, little-endian numbers and the order of names, nothing that follows chains or trees.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <string>
#include <vector>

namespace kvdm {

// One line of English for each fault: what is not as the format demands. None for a sound file. Everything but the contents of
// streams is read; memory is a few bytes a sector. A byte array that fails to read gives one line that says so.
std::vector<std::string> checkCompoundFile(ILockBytes& bytes);

} // namespace kvdm
