#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// A private program directory with the real program, a fake scan engine and the pictures it needs,
/// and a product directory. Only inside the sandbox. Everything is removed at the end.
class StagedProgram {
public:
    /// `name` is the last part of the program directory's path.
    explicit StagedProgram(const std::string& name = "program");
    ~StagedProgram();
    StagedProgram(const StagedProgram&) = delete;
    StagedProgram& operator=(const StagedProgram&) = delete;

    /// Puts a variant of the fake on-access service into the product directory.
    void InstallOnAccessService(const std::string& variant = "good") const;

    /// Puts a variant of the fake scan engine into the program directory.
    void InstallEngine(const std::string& variant) const;

    /// How the program is started, beside its arguments.
    struct Conditions {
        std::vector<std::string> environment;     ///< NAME=value
        std::optional<unsigned> descriptorLimit;  ///< most descriptors it may have open
        bool asNobody = false;                    ///< as an ordinary user; only as root
    };

    /// Starts the program.
    [[nodiscard]] pid_t Start(const std::vector<std::string>& arguments,
                              const Conditions& conditions) const;

    /// Waits for the end, at most a minute, and returns the exit status; -1 when it took longer
    /// (it is then killed) or did not end by itself.
    [[nodiscard]] static int Wait(pid_t program);

    /// Start and Wait.
    [[nodiscard]] int Run(const std::vector<std::string>& arguments = {},
                          const Conditions& conditions = {{}, {}, false}) const;

    /// "/…/", as the program must find it.
    [[nodiscard]] const std::filesystem::path& Directory() const { return m_directory; }
    [[nodiscard]] const std::filesystem::path& Scratch() const { return m_scratch; }

    /// What the test driver saw, what the on-access service and the engine were called with.
    [[nodiscard]] std::vector<std::string> Seen() const;
    [[nodiscard]] std::vector<std::string> OnAccessCalls() const;
    [[nodiscard]] std::vector<std::string> EngineCalls() const;

private:
    std::filesystem::path m_scratch;
    std::filesystem::path m_directory;
};

/// The bytes of a file; nothing when it cannot be read.
std::optional<std::string> FileBytes(const std::filesystem::path& path);

/// The permission bits of a file, -1 when it is not there.
int ModeOf(const std::filesystem::path& path);

/// The lines of a file; none when it is not there.
std::vector<std::string> FileLines(const std::filesystem::path& path);
