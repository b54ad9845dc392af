#pragma once

#include <string>

#include "reports/virus_log/size_limit.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

/// Four records; they lie at 88, 308, 528 and 748, and end at 968.
inline std::string FourRecords() {
    return Record('a') + Record('b') + Record('c') + Record('d');
}

/// A log and its table, of which a trim takes the oldest records.
class SizeLimit : public VirusLogTest {
protected:
    void PutLog(const std::string& log, const std::string& table) {
        m_log = log;
        m_table = table;
        Put("VirRcONE.dat", log);
        Put("RecOffset.dat", table);
    }
    /// A log of four records with the given table, and a trim to LIMIT.
    bool TrimFour(const std::string& table, int limit) {
        PutLog(HeadBytes(4) + FourRecords(), table);
        SetLimits(4, limit);
        return Trim();
    }
    static bool Trim(std::string name = "VirRcONE.dat") { return ResetVirusLog(name.data()); }

    void ExpectUnchanged() const {
        EXPECT_EQ(Content("VirRcONE.dat"), m_log);
        EXPECT_EQ(Content("RecOffset.dat"), m_table);
    }
    /// The trim gave up once it had opened its temporary file.
    void ExpectGivenUp() const {
        ExpectUnchanged();
        EXPECT_EQ(Content("tmprpt.dat"), "");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }
    /// Nothing was begun.
    void ExpectUntouched() const {
        ExpectUnchanged();
        EXPECT_EQ(Content("tmprpt.dat"), "(missing)");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }
    void ExpectTrimmed(const std::string& log, const std::string& table) const {
        EXPECT_EQ(Content("VirRcONE.dat"), log);
        EXPECT_EQ(Content("RecOffset.dat"), table);
        EXPECT_EQ(Content("tmprpt.dat"), "(missing)");
        EXPECT_EQ(Content("tmpoffset.dat"), "(missing)");
    }

    std::string m_log = "(missing)";
    std::string m_table = "(missing)";
};
