// What a client of the library does with one document, through the published interfaces alone.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

#include <string>

namespace kvdm::bench {

// One application object serves all the documents of a client. Throws when the library cannot be started.
ComPtr<IKvDMApplication> makeApplication();

// An open document; throws when it does not open.
ComPtr<IKvDMDocument12> openDocument(IKvDMApplication& application, const std::string& path, bool readOnly = true);

struct Answers
{
    LONG version = 0;
    std::size_t customProperties = 0;
    std::size_t textUnits = 0; // of all answers, so that nothing is left unread
};

// The version and all custom properties; throws when the document does not answer.
Answers askVersionAndProperties(IKvDMDocument12& document);
// And what else a vault shows of a document: the invisible properties and the summary.
Answers askEverythingInTheVaultsList(IKvDMDocument12& document);

} // namespace kvdm::bench
