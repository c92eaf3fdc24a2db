// Finds the entry of a folder whose name differs in case alone.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kvdm {

// The entry of the folder that equals the name without regard to case; of several the first in byte order. Empty when there
// is none or the folder cannot be read. Searches for references miss thousands of times in the same few folders, so listings
// are kept while the folder's time of change shows that they still hold. For any thread.
std::optional<std::string> findEntryNoCase(const std::string& folder, std::string_view name);

} // namespace kvdm
