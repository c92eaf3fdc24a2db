// Persistent arrays and lists of objects. In the stream: the count, then each object. Elements may be null and, in a stream
// that others wrote, of any class. They are shared handles, so every form owns its elements; the forms that are named for
// destroying their elements are told apart by their names in streams alone.
#pragma once

#include "storage/archive/su_CObject.h"

#include <memory>
#include <vector>

namespace kvdm {

class suObjectSequence : public su_CObject
{
public:
    // suFileException with the generic cause when an element's own serialize changes the number of elements.
    void serialize(su_CArchive& archive) override;
    void releaseReferences() noexcept override { elements.clear(); }

    // The elements that are of the class, in their order; the others are passed over.
    template <class Object> std::vector<Object*> elementsOf() const
    {
        std::vector<Object*> found;
        for (const auto& element : elements)
            if (Object* object = objectAs<Object>(element.get()))
                found.push_back(object);
        return found;
    }

    std::vector<std::shared_ptr<su_CObject>> elements;
};

class su_CObArray : public suPersistent<su_CObArray, suObjectSequence>
{
public:
    static constexpr std::string_view streamName = "su_CObArray";
};

class suObArray : public suPersistent<suObArray, su_CObArray>
{
public:
    static constexpr std::string_view streamName = "suObArray";
};

class suPersistentObArray : public suPersistent<suPersistentObArray, su_CObArray>
{
public:
    static constexpr std::string_view streamName = "suPersistentObArray";
};

class suSelfDestroyObArray : public suPersistent<suSelfDestroyObArray, su_CObArray>
{
public:
    static constexpr std::string_view streamName = "suSelfDestroyObArray";
};

class su_CObList : public suPersistent<su_CObList, suObjectSequence>
{
public:
    static constexpr std::string_view streamName = "su_CObList";
};

class suObList : public suPersistent<suObList, su_CObList>
{
public:
    static constexpr std::string_view streamName = "suObList";
};

class suSelfDestroyObList : public suPersistent<suSelfDestroyObList, su_CObList>
{
public:
    static constexpr std::string_view streamName = "suSelfDestroyObList";
};

} // namespace kvdm
