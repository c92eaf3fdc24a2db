// Pictures on a terminal.
#pragma once

#include "client.h"

#include <optional>
#include <string>

namespace kvdm::tool {

// The preview of the document or of a configuration: the bitmap, else the PNG; null when there is none.
ComPtr<IKvPicture> previewPicture(const Document& document, const std::string& configuration);

// The picture as the escape sequence of a terminal that can show it (kitty graphics or sixel, told by its environment); empty
// on any other.
std::optional<std::string> pictureForTerminal(IKvPicture& picture);

} // namespace kvdm::tool
