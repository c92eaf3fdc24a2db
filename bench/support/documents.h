// Documents to measure with, made in a folder of their own that goes when the program ends.
#pragma once

#include "support/CompoundFileBuilder.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kvdm::bench {

class TemporaryFolder
{
public:
    TemporaryFolder(); // throws when none can be made
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return folder + "/" + name; }

private:
    std::string folder;
};

// A document of about that many bytes: all that a real part holds (version marker, headers, property streams, previews,
// bodies), and beside them one stream that makes it large. That stream is a hole: it takes no room on the disk.
void makeLargeDocument(const std::string& path, std::uint64_t bytes, const test::CompoundFileBuilder::Options& options);

// So many copies of the documents that the tests read: parts, assemblies and drawings, of a few kilobytes each.
std::vector<std::string> makeSmallDocuments(const TemporaryFolder& folder, std::size_t count);

// So many copies of documents that have both previews in the plain form.
std::vector<std::string> makePreviewDocuments(const TemporaryFolder& folder, std::size_t count);

// A plain file, dense on the disk.
void makePlainFile(const std::string& path, std::uint64_t bytes);

// A compound file of the builder, written by the same large blocks as a plain file. The system keeps a file in memory in pieces
// as large as the writes that made it, and copies out of large pieces more than twice as fast.
void makeDenseFile(const std::string& path, const test::CompoundFileBuilder& builder);

} // namespace kvdm::bench
