// Reading and writing a client's stream, which may do less than it was asked to and may leave its out-parameters alone.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace kvdm {

// Reads on until count bytes have come, the stream has no more or it fails; done holds what came in every case. A stream that
// succeeds without saying how much it moved is asked where it stands when the position before is known, else nothing came.
HRESULT readFully(IStream& stream, void* buffer, std::size_t count, std::size_t& done, std::optional<std::uint64_t> position = {});
// Writes on until all is written or the stream fails. One that succeeds and takes no more has done less than count.
HRESULT writeFully(IStream& stream, const void* buffer, std::size_t count, std::size_t& done, std::optional<std::uint64_t> position = {});

// The position that is reached is all ones when the stream does not tell it.
HRESULT seekStream(IStream& stream, std::int64_t offset, DWORD origin, std::uint64_t* reached = nullptr);

} // namespace kvdm
