// Files as the system sees them: why one cannot be read or written, and the replacement of a file as a whole.
#pragma once

#include <functional>
#include <string>
#include <system_error>

namespace kvdm::tool {

// The system's word for a failure, in those that this program uses.
std::string wordFor(const std::error_code& failure);

// Why the system has no ordinary file there; empty when it has one.
std::string whyNoFile(const std::string& path);

// Why the system takes no file there, as far as can be seen: the folder, the file that is there, the disk. Else empty.
std::string whyNotWritten(const std::string& path);

// A Failure for a Windows path: only the library maps those, and here the system makes the file.
void requireNativeName(const std::string& target);

// Calls write with a name beside the target, and moves there what it wrote: the target is what it was, or new as a whole,
// with the permissions that it had; a link is followed. A Failure, for a target too that is no file or not to be changed.
void replaceFile(const std::string& target, const std::function<void(const std::string& beside)>& write);

} // namespace kvdm::tool
