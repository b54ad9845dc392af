#pragma once

#include <cstddef>
#include <vector>

#include <QString>

class ReportText;

/// The places where a text is found in a report, letters in both cases; no two overlap.
///
/// They are counted a piece of the report at a time, so that a window stays usable meanwhile. Only
/// how many there are in each piece is kept: a report may hold a match in every byte. GUI thread.
class ReportSearch {
public:
    /// The most that one call of CountSome looks at, in bytes.
    static constexpr std::size_t kMostAtOnce = 262144 + 65536;

    /// One place, in bytes from the start of the report.
    struct Match {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    /// Finds nothing.
    ReportSearch() = default;

    /// Looks for `wanted`, of one line and not empty, in `report`, which outlives this.
    ReportSearch(const ReportText& report, QString wanted);

    /// Looks at one more piece of the report.
    void CountSome();

    /// Whether all of the report has been looked at.
    [[nodiscard]] bool IsWhole() const;

    /// How much of it has been looked at, in bytes.
    [[nodiscard]] std::size_t Searched() const { return m_searched; }

    /// How many matches there are in that part.
    [[nodiscard]] std::size_t Count() const { return m_count; }

    /// The match number `index`, below Count(), counted from 0.
    [[nodiscard]] Match At(std::size_t index) const;

    /// The number of the first match that begins at `offset` or behind it; Count() when none does.
    [[nodiscard]] std::size_t FirstFrom(std::size_t offset) const;

private:
    struct Piece {
        std::size_t begin = 0;
        std::size_t end = 0;
        std::size_t before = 0;  // matches in the pieces before it
    };
    [[nodiscard]] std::size_t PieceEnd(std::size_t begin) const;
    [[nodiscard]] std::vector<Match> MatchesIn(std::size_t begin, std::size_t end) const;

    const ReportText* m_report = nullptr;
    QString m_wanted;
    std::vector<Piece> m_pieces;
    std::size_t m_searched = 0;
    std::size_t m_count = 0;
};
