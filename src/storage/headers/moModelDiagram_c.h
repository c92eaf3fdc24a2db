// An object that older documents name and that keeps nothing in the stream.
#pragma once

#include "storage/archive/su_CObject.h"

namespace kvdm {

class moModelDiagram_c : public suPersistent<moModelDiagram_c>
{
public:
    static constexpr std::string_view streamName = "moModelDiagram_c";
    void serialize(su_CArchive& archive) override;

    // Places that classes of the CAD system fill; they do nothing here.
    virtual void reserved1() {}
    virtual void reserved2() {}
    virtual void reserved3() {}
    virtual void reserved4() {}
};

} // namespace kvdm
