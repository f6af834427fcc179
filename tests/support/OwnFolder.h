#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

/// A new folder as the current directory, for what the toolkit writes there; gone with the object.
class OwnFolder {
public:
    OwnFolder() : before(std::filesystem::current_path())
    {
        std::string name = testing::TempDir() + "toolkit_XXXXXX";
        folder = mkdtemp(name.data());
        std::filesystem::current_path(folder);
    }

    ~OwnFolder()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }

    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

    const std::filesystem::path& Path() const { return folder; }

private:
    std::filesystem::path before;
    std::filesystem::path folder;
};
