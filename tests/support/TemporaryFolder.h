// A folder of the test's own, gone with everything in it at the end.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include <stdlib.h>

namespace kvdm::test {

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = ::testing::TempDir() + "kvdmXXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        path = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return (path / name).string(); }

private:
    std::filesystem::path path;
};

} // namespace kvdm::test
