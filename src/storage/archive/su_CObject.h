// The root of every persistent class.
#pragma once

#include "common/runtimeClass.h"

#include <memory>
#include <string_view>

namespace kvdm {

class su_CArchive;

// An object that an archive can read and write. One serialize operation does both, in the order of the stream; it throws
// suArchiveException or suFileException where the stream cannot be understood and may then leave the object half filled.
// Objects are shared: the same one may stand in a stream several times.
class su_CObject
{
public:
    static const suRuntimeClass runtimeClass;

    su_CObject() = default;
    virtual ~su_CObject() = default;

    virtual const suRuntimeClass& getRuntimeClass() const noexcept { return runtimeClass; }
    virtual void serialize(su_CArchive& archive);

    // The object that shall take the place of this new one before it is filled; null for the object itself.
    virtual std::shared_ptr<su_CObject> loadSubstitute() { return nullptr; }
    // Told to an object of the stream whose data went into another object.
    virtual void replacedBy(su_CObject& replacement);
    // Lets go of all objects that this one holds. Objects that a stream makes hold each other in a ring die no other way.
    virtual void releaseReferences() noexcept {}

    bool isKindOf(const suRuntimeClass& kind) const noexcept { return getRuntimeClass().isDerivedFrom(kind); }

protected:
    su_CObject(const su_CObject&) = default;
    su_CObject& operator=(const su_CObject&) = default;
};

// The schema of every persistent class: it writes 1 and takes any.
constexpr std::uint32_t anySchema = 1 | suRuntimeClass::versionable;

template <class Object> std::unique_ptr<su_CObject> createObject()
{
    return std::make_unique<Object>();
}

// Gives the class Self, which derives from this, its run-time class: its name in streams is Self::streamName, the class
// above it is that of Base.
//     class moStamp_c final : public suPersistent<moStamp_c> { public: static constexpr std::string_view streamName = ... };
template <class Self, class Base = su_CObject> class suPersistent : public Base
{
public:
    static const suRuntimeClass runtimeClass;
    const suRuntimeClass& getRuntimeClass() const noexcept override { return runtimeClass; }
};

template <class Self, class Base>
constinit const suRuntimeClass suPersistent<Self, Base>::runtimeClass{Self::streamName, anySchema, &Base::runtimeClass, &createObject<Self>};

// The object as what it is, or null when it is of another class (or null).
template <class Object> Object* objectAs(su_CObject* object) noexcept
{
    return object && object->isKindOf(Object::runtimeClass) ? static_cast<Object*>(object) : nullptr;
}
template <class Object> std::shared_ptr<Object> objectAs(const std::shared_ptr<su_CObject>& object) noexcept
{
    return object && object->isKindOf(Object::runtimeClass) ? std::static_pointer_cast<Object>(object) : nullptr;
}

} // namespace kvdm
