// Messages that the system would show in a box. A program that links the rooms (tests do, clients of the shared libraries
// cannot) sees them by a hook; without one nothing is shown, since the library runs inside programs that may have no screen.
#pragma once

#include <string_view>

namespace kvdm {

using MessageHook = void (*)(std::u16string_view text);

// Returns the hook that was set before; null removes it. The hook may be called on any thread that uses the library.
MessageHook setMessageHook(MessageHook hook) noexcept;
void showMessage(std::u16string_view text);

} // namespace kvdm
