// The shape that every automation method shares.
#pragma once

#include "common/statusOfException.h"

#include <kvdocmgr/oletypes.h>

#include <utility>

namespace kvdm {

// Out-pointers first, then the core, then the call; nothing thrown leaves.
template <class Core, class Body, class... Outs> HRESULT callOnCore(Core* core, Body&& body, Outs*... outs) noexcept
{
    return automationCall([&]() -> HRESULT {
        if ((!outs || ...))
            return E_POINTER;
        if (!core)
            return RPC_E_DISCONNECTED;
        return std::forward<Body>(body)(*core);
    });
}

} // namespace kvdm
