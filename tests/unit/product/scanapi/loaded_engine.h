#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "abi/scanapi.h"

/// A temporary folder, removed at the end with all that is in it.
class TemporaryTree {
public:
    TemporaryTree();
    ~TemporaryTree();
    TemporaryTree(const TemporaryTree&) = delete;
    TemporaryTree& operator=(const TemporaryTree&) = delete;

    [[nodiscard]] std::string Path(std::string_view name = {}) const;

    /// Writes a file, making its folders, and returns its path.
    std::string Write(std::string_view name, std::string_view content) const;

private:
    std::string m_root;
};

/// One message of the engine.
struct Message {
    int code = 0;
    std::string file;
    std::string virus;
    int detectionClass = 0;
    int subClass = 0;
};
std::ostream& operator<<(std::ostream& out, const Message& message);

/// The engine's library, loaded as the program loads it.
class EngineLibrary {
public:
    EngineLibrary();
    ~EngineLibrary();
    EngineLibrary(const EngineLibrary&) = delete;
    EngineLibrary& operator=(const EngineLibrary&) = delete;

    PFNINITSCAN init = nullptr;
    PFNDEINITSCAN deinit = nullptr;
    PFNGETVER getVersion = nullptr;
    PFNSETCALLBACK setCallback = nullptr;
    PFNSETOPTIONS setOptions = nullptr;
    PFNOPENFILE openFile = nullptr;
    PFNCLOSEFILE closeFile = nullptr;
    PFNSCANFILEEX scanFile = nullptr;
    PFNRESETFPTFLAGS resetFlags = nullptr;
    PFNFILESAHEAD filesAhead = nullptr;

private:
    void* m_library = nullptr;
};

/// A started engine over a folder of its own with our signatures, and a program that writes down
/// what it is told. Skips outside the sandbox.
class EngineTest : public testing::Test {
protected:
    using Answer = std::function<int(const Message&)>;

    void SetUp() override;
    void TearDown() override;

    /// Options as the program fills them with all kinds of file switched on.
    [[nodiscard]] tagSCANAPI_OPTIONS Options() const;

    /// Puts our own signatures into the engine's folder.
    void InstallSignatures() const;

    /// Puts a database with a head, unsigned, of this number and date (seconds since 1970) into the
    /// engine's folder. It knows "numbered-test".
    void WriteNumberedDatabase(const std::string& path, unsigned int number, long built) const;
    void Start();
    void StartWith(tagSCANAPI_OPTIONS options);

    /// Opens, scans and closes a file as the program does; the result of ZqScanFileEx, or -1 when
    /// it could not be opened.
    int Scan(const std::string& path);

    /// The codes of all messages so far, without the polls that mean nothing.
    [[nodiscard]] std::vector<int> Codes() const;
    [[nodiscard]] const Message* Find(int code) const;
    /// The file names of all messages with `code`.
    [[nodiscard]] std::vector<std::string> Files(int code) const;

    TemporaryTree m_engine;  ///< the engine's directory
    TemporaryTree m_tree;    ///< what is scanned
    EngineLibrary m_library;
    std::vector<Message> m_messages;
    Answer m_answer;      ///< 2003 to a detection, 2005 to the rest, unless set
    bool m_stop = false;  ///< the program's stop flag

private:
    static int OnMessage(const tagZQFILEINFO* info, void* context);
};

std::string ReadAll(const std::string& path);

/// What the engine has written to the common log, but for what it says of the machine: which parts
/// of its workers' confinement cannot be had here.
std::string LinesOfTheEngine();
