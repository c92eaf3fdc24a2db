// The one list that turns an exception into a status, for every function that others call.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <utility>

namespace kvdm {

// To be called in a handler: sorts the exception in flight. OLE: its own status; memory: 0x8007000E; invalid argument:
// 0x80070057; all others: 0x80004005.
HRESULT statusOfCurrentException() noexcept;

// Runs the body and lets nothing out but a status.
template <class Body> HRESULT automationCall(Body&& body) noexcept
{
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return statusOfCurrentException();
    }
}

} // namespace kvdm
