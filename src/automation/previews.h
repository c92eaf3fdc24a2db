// Previews of documents and configurations as automation values.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

#include <string>

namespace kvdm {

class dmConfigHeader_c;
class dmDocument_c;

enum class PreviewForm
{
    bitmap,
    png
};

// The name of the stream that holds the preview: of a configuration, or with null of the document. False when there is none.
bool getPreviewName(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, std::u16string& name);

// The preview as a picture object. The outcome stands in error; all statuses are S_OK.
HRESULT givePicture(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, KvDmPreviewError* error, IDispatch** picture);

// The preview as the bytes of a BMP or PNG file.
HRESULT givePreviewBytes(dmDocument_c& document, const dmConfigHeader_c* configuration, PreviewForm form, KvDmPreviewError* error, VARIANT* bytes);

} // namespace kvdm
