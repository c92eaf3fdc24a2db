// A strict look at the structure of a compound file, independent of the code that reads and writes them.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <string>
#include <vector>

namespace kvdm {

// One line of English for each fault: what is not as the format demands. None for a sound file. Everything but the contents of
// streams is read; memory is a few bytes a sector. A byte array that fails to read gives one line that says so.
std::vector<std::string> checkCompoundFile(ILockBytes& bytes);

} // namespace kvdm
