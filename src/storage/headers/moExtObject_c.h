// A reference of a document to another one.
#pragma once

#include "storage/headers/moObjFileDef_c.h"
#include "storage/headers/moStamp_c.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kvdm {

class moExtObject_c final : public suPersistent<moExtObject_c>
{
public:
    static constexpr std::string_view streamName = "moExtObject_c";
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override { fileDef.reset(); }

    bool isExternal() const noexcept { return externalCount > 0; }
    bool isInContext() const noexcept { return inContextCount >= 1; }
    bool isBroken() const noexcept { return brokenCount >= 1; }

    // The path as last saved; empty for a record without a file.
    std::u16string getPath() const { return fileDef ? fileDef->pathName : std::u16string(); }
    void SetPath(std::u16string path);
    // The text behind the last backslash of the path.
    std::u16string GetFileName() const;

    std::shared_ptr<moObjFileDef_c> fileDef;
    std::uint32_t objectId = 0;
    std::uint16_t documentType = 0;  // KvDmDocumentType of the target
    std::int32_t externalCount = 0;  // from 99: external uses
    std::int32_t inContextCount = 0; // from 109: in-context uses
    std::int32_t stampVersion = -1;  // from 2270, kept as read; -1: the stamp is not to be trusted
    moStamp_c stamp;                 // from 2270: change stamp of the referenced file
    std::int32_t brokenCount = 0;    // from 2769
    std::int32_t isVirtual = 0;      // from 3478; 1: a virtual component, stored inside the parent
};

} // namespace kvdm
