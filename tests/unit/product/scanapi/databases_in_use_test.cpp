#include "product/scanapi/databases_in_use.h"

#include <algorithm>
#include <clamav.h>
#include <filesystem>
#include <gtest/gtest.h>

#include "product/definitions/engine_databases.h"
#include "tests/support/scratch.h"

// A set that could not be loaded whole is tried again, after a while that the test sets.

namespace fs = std::filesystem;

namespace scanapi {
namespace {

using std::chrono::milliseconds;

constexpr char kSignature[] = "Own.Test.A:0:*:6f776e2d746573742d41\n";

class DatabasesInUseTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(cl_init(CL_INIT_DEFAULT), CL_SUCCESS);
        Put("set-1/own.ndb", kSignature);
        Put("set-2/own.ndb", "this passes for text\n");
        SwitchTo("set-1");
    }

    void Put(const std::string& name, const std::string& content) const {
        const fs::path path = m_directory + "defs/" + name;
        fs::create_directories(path.parent_path());
        WriteFile(path, content);
    }

    void SwitchTo(const std::string& set) const {
        fs::create_symlink(set, m_directory + "defs/current.new");
        fs::rename(m_directory + "defs/current.new", m_directory + "defs/current");
    }

    [[nodiscard]] std::unique_ptr<DatabasesInUse> Use(milliseconds retryInterval) const {
        return std::make_unique<DatabasesInUse>(
            m_directory, definitions::FindDatabases(m_directory, "set-1").usable, "set-1",
            m_scratch.Path(), retryInterval);
    }

    /// Whether a scan that begins now has `set`, once that which it has is loaded.
    static bool Has(DatabasesInUse& databases, const std::string& set) {
        databases.BeginScan();
        const auto loader = databases.ForScan();
        const std::vector<Database> used = loader->Databases();
        return loader->WaitFor(milliseconds(10'000)) &&
               std::any_of(used.begin(), used.end(), [&](const Database& each) {
                   return each.path.find("/" + set + "/own.ndb") != std::string::npos;
               });
    }

    /// Until the set that cannot be loaded has been given up, which `words` tell.
    static bool WaitForTheFailure(DatabasesInUse& databases, const char* words) {
        return WaitUntil([&] {
                   return Has(databases, "set-1") &&
                          ReadFile("/zqcommon.log").find(words) != std::string::npos;
               }) &&
               Has(databases, "set-1");
    }

    ScratchFolder m_scratch;
    std::string m_directory = m_scratch / "engine/";
};

// All of it, and one database of several.
TEST_F(DatabasesInUseTest, ASetThatCouldNotBeLoadedIsTriedAgainAfterAWhile) {
    for (const char* words : {"no database could be loaded", "the new definitions wait"}) {
        SCOPED_TRACE(words);
        ::unlink("/zqcommon.log");
        const auto databases = Use(milliseconds(300));
        ASSERT_TRUE(Has(*databases, "set-1"));
        SwitchTo("set-2");
        ASSERT_TRUE(WaitForTheFailure(*databases, words));
        // Nothing in the folder that is watched changes by this.
        Put("set-2/own.ndb", kSignature);
        EXPECT_TRUE(WaitUntil([&] { return Has(*databases, "set-2"); }));

        SetUp();
        Put("package.ndb", kSignature);
    }
}

TEST_F(DatabasesInUseTest, NotBeforeThat) {
    ::unlink("/zqcommon.log");
    Put("package.ndb", kSignature);
    const auto databases = Use(std::chrono::hours(1));
    ASSERT_TRUE(Has(*databases, "set-1"));
    SwitchTo("set-2");
    ASSERT_TRUE(WaitForTheFailure(*databases, "the new definitions wait"));
    Put("set-2/own.ndb", kSignature);
    const auto end = std::chrono::steady_clock::now() + milliseconds(700);
    while (std::chrono::steady_clock::now() < end) {
        ASSERT_TRUE(Has(*databases, "set-1"));
    }
}

}  // namespace
}  // namespace scanapi
