// Copies elements of a storage of ours into any other storage.
#pragma once

#include "platform/compoundfile/storageObject.h"

namespace kvdm {

// Elements are read where they are, open or not. A target of ours takes names that its CreateStream would refuse, since odd
// files have them. The mutex of the source's file is held.
class StorageCopy
{
public:
    enum class IntoItself
    {
        refused, // STG_E_ACCESSDENIED: the copy would have no end
        allowed  // for a single element, which is not open and so cannot hold the target
    };

    StorageCopy(StorageObject& from, IStorage& to, IntoItself intoItself = IntoItself::refused);

    // Class, state bits and all elements but the excluded ones. Streams of the same name are replaced, storages merged.
    HRESULT all(bool streams, bool storages, SNB excludedNames) const;
    // One element under a name that the target must not have.
    HRESULT one(ElementId element, const std::u16string& name) const;

private:
    HRESULT iCopyAll(ElementId storage, IStorage& to, bool streams, bool storages, SNB excludedNames, unsigned depth) const;
    HRESULT iCopyStream(ElementId stream, IStorage& to, const std::u16string& name, DWORD createMode) const;
    HRESULT iCopyStorage(ElementId storage, IStorage& to, const std::u16string& name, bool merge, unsigned depth) const;

    StorageObject& source;
    IStorage& target;
};

} // namespace kvdm
