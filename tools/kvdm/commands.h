// One function a command. Each reads its own options, and returns the exit code.
#pragma once

#include <CLI/CLI.hpp>

namespace kvdm::tool {

// Registers the command with its options; what it does runs when the command line was parsed whole.
void addDump(CLI::App& app, int& exitCode);
void addInfo(CLI::App& app, int& exitCode);
void addProps(CLI::App& app, int& exitCode);
void addPropsEdits(CLI::App& props, int& exitCode); // below "props"
void addSummary(CLI::App& app, int& exitCode);
void addConfigs(CLI::App& app, int& exitCode);
void addPreview(CLI::App& app, int& exitCode);
void addBodies(CLI::App& app, int& exitCode);
void addMass(CLI::App& app, int& exitCode);
void addSave(CLI::App& app, int& exitCode);
void addSaveAs(CLI::App& app, int& exitCode);
void addLs(CLI::App& app, int& exitCode);
void addCat(CLI::App& app, int& exitCode);
void addCheck(CLI::App& app, int& exitCode);

constexpr int exitDone = 0;
constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

// Runs body for each file; what fails is told on standard error, one line a file, and the others are still done.
template <class Body> int forEachFile(const std::vector<std::string>& files, Body&& body);

// Examples below the help of a command.
void teach(CLI::App& command, const std::string& examples);

// One line on standard error.
void complain(const std::string& line);

template <class Body> int forEachFile(const std::vector<std::string>& files, Body&& body)
{
    int code = exitDone;
    for (const std::string& file : files) {
        try {
            body(file);
        } catch (const std::exception& failure) {
            complain(failure.what());
            code = exitFailed;
        }
    }
    return code;
}

} // namespace kvdm::tool
