#include "properties/suOlePropertyHelper.h"

#include "storage/archive/persistentClasses.h"
#include "storage/archive/su_CArchive.h"

namespace kvdm {

void suOlePropertyHelper::serialize(su_CArchive& archive)
{
    if (archive.IsStoring())
        archive << name << value;
    else
        archive >> name >> value;
}

void registerPropertyClasses()
{
    registerPersistentClass(suOlePropertyHelper::runtimeClass);
}

} // namespace kvdm
