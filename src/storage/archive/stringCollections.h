// Persistent arrays and lists of wide strings. In the stream: the count, then each string.
#pragma once

#include "storage/archive/su_CObject.h"

#include <string>
#include <vector>

namespace kvdm {

class suStringSequence : public su_CObject
{
public:
    void serialize(su_CArchive& archive) override;

    std::vector<std::u16string> elements;
};

class su_CStringArray : public suPersistent<su_CStringArray, suStringSequence>
{
public:
    static constexpr std::string_view streamName = "su_CStringArray";
};

class su_CStringList : public suPersistent<su_CStringList, suStringSequence>
{
public:
    static constexpr std::string_view streamName = "su_CStringList";
};

} // namespace kvdm
