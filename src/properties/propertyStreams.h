// Whole streams of a storage, read and written at once.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <string>
#include <string_view>

namespace kvdm {

// Opens a stream for exclusive reading. Null when it cannot be had; missing tells whether that is because there is none.
ComPtr<IStream> openPropertyStream(IStorage& storage, std::u16string_view name, bool& missing);

// Appends what the stream holds from its position on. False when the stream failed before it ended. A stream that returns
// less than was asked is asked again until it gives nothing.
bool readWholeStream(IStream& stream, std::string& bytes);

// False when the stream did not take all.
bool writeWholeStream(IStream& stream, std::string_view bytes);

} // namespace kvdm
