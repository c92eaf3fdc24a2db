// The two streams that tell what a document is: reading and writing them in a storage.
#pragma once

#include "storage/headers/dmConfigMgrHeader_c.h"
#include "storage/headers/moHeader_c.h"

#include <memory>
#include <string>
#include <string_view>

namespace kvdm {

class suStructuredStorage;

// False for the versions whose headers cannot be read, from which every reader and writer here keeps away.
bool isHeaderVersionReadable(int version) noexcept;
std::u16string headerStreamName(int version);          // in the root
std::u16string configMgrHeaderStreamName(int version); // in "Contents"

// The version is that of the storage's marker. Null when the version is not readable, the stream is missing, does not
// decode, or holds another object. Nothing stays attached to the storage.
std::shared_ptr<moHeader_c> readHeader(suStructuredStorage& storage);
std::shared_ptr<dmConfigMgrHeader_c> readConfigMgrHeader(suStructuredStorage& storage);

// Both give 0 in all cases; written tells whether the stream holds the object now. The object is stored into memory first,
// so that one that cannot be stored leaves the old stream as it was. Afterwards no compressed stream of the same name is
// left that a reader would take for this one.
int writeHeader(moHeader_c& header, suStructuredStorage& storage, bool* written = nullptr);
// A storage that belongs to a document gets the present version's form.
int writeConfigMgrHeader(dmConfigMgrHeader_c& header, suStructuredStorage& storage, bool* written = nullptr);

// How the configuration manager header is compressed: with mode 1 as the setting says (0 not, 3 compressed), else not. For
// the process; both are 0 at first.
void setConfigMgrHeaderCompression(int mode, int setting) noexcept;

// True when the document holds the stream "AuxiliaryHeader".
bool hasAuxiliaryHeader(std::u16string_view path);

} // namespace kvdm
