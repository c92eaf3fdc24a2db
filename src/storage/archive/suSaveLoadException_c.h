// Thrown by the load code of a class that cannot make sense of a stream; its text says what it met.
#pragma once

#include "common/exceptions.h"

#include <kvdocmgr/text.h>

#include <string>

namespace kvdm {

class suSaveLoadException_c final : public suException
{
public:
    explicit suSaveLoadException_c(std::u16string message) : suException(toUtf8(message)), text(std::move(message)) {}

    std::u16string text;
};

} // namespace kvdm
