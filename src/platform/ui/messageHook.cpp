#include "platform/ui/messageHook.h"

#include <atomic>

namespace kvdm {

namespace {

constinit std::atomic<MessageHook> currentHook{nullptr};

} // namespace

MessageHook setMessageHook(MessageHook hook) noexcept
{
    return currentHook.exchange(hook);
}

void showMessage(std::u16string_view text)
{
    if (const MessageHook hook = currentHook.load())
        hook(text);
}

} // namespace kvdm
