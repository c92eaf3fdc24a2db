// The run-time classes that an object stream can name.
#pragma once

#include "common/runtimeClass.h"

#include <string_view>

namespace kvdm {

// The class of a name as it stands in a stream, compared exactly; null when there is none. A collection is found under the
// framework's name ("CObList") and under its own ("su_CObList").
const suRuntimeClass* findPersistentClass(std::string_view storedName);

// Adds a class of a higher room, which has to call this before the first stream is read. The class and its name must live
// as long as the process. A class that is known already is not added again.
void registerPersistentClass(const suRuntimeClass& runtimeClass);

} // namespace kvdm
