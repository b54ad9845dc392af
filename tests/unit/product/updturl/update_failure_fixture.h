#pragma once

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/support/disk_model.h"
#include "tests/support/mirror.h"
#include "tests/unit/product/definitions/definitions_fixture.h"

namespace updturl {

/// What a program said on its standard output, and how it ended.
struct Told {
    int status = -1;  ///< its exit status, -1 when it was killed
    std::string words;

    [[nodiscard]] bool Has(const std::string& text) const {
        return words.find(text) != std::string::npos;
    }
    /// -1 when it said none.
    [[nodiscard]] int Result() const;
};

/// What is written down of the last update when a test begins.
inline constexpr char kOldRecord[] = "{\"time\": 1, \"result\": 2, \"text\": \"of old\"}\n";

/// corvane-update with both its stages, a web server that has something new, and the first set
/// installed: of two databases, "b.ndb" is another one in the new set.
class UpdateFailureTest : public DefinitionsTest {
protected:
    void SetUp() override;

    /// Puts everything back to how it was at the beginning.
    void Reset() const;

    /// The program that updates; its stage that downloads.
    [[nodiscard]] std::vector<std::string> Whole() const { return {m_updater, "--as-caller"}; }
    [[nodiscard]] std::vector<std::string> Download() const {
        return {m_updater, "--fetch", "--as-caller"};
    }

    /// Runs a program as one who asks it for an update and waits for its end.
    [[nodiscard]] Told Ask(std::vector<std::string> command) const;

    /// The same under strace, which writes to m_trace.
    [[nodiscard]] Told AskTraced(const std::vector<std::string>& options,
                                 const std::vector<std::string>& program) const;

    [[nodiscard]] bool IsAnythingRunning() const;

    /// The set in use, and the record of the last update, are whole.
    void ExpectOldOrNew() const;

    /// Another run ends well and leaves nothing but what belongs there.
    void ExpectAnotherRunToDo() const;

    MirrorServer m_server;
    std::string m_download = m_product + "download/";
    std::string m_updater = m_scratch / "updater";
    std::string m_trace = m_scratch / "trace";
    std::string m_new = OwnSignature('C');
    Tree m_startDefs;
    Tree m_startDownload;

private:
    void Publish(std::uint64_t serial, const std::string& database) const;
    [[nodiscard]] std::string Words() const;
};

}  // namespace updturl
