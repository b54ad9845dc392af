#include "reports/report_search.h"

#include <algorithm>
#include <utility>

#include <QStringMatcher>

#include "reports/report_text.h"

namespace {

constexpr std::size_t kPiece = 262144;
// How far a piece may reach to end with its line: no match goes on over the end of a line.
constexpr std::size_t kReach = 65536;

}  // namespace

ReportSearch::ReportSearch(const ReportText& report, QString wanted)
    : m_report(&report), m_wanted(std::move(wanted)) {}

bool ReportSearch::IsWhole() const {
    return m_report == nullptr || m_searched == m_report->Size();
}

std::size_t ReportSearch::PieceEnd(std::size_t begin) const {
    if (m_report->Size() - begin <= kPiece) {
        return m_report->Size();
    }
    const std::size_t least = begin + kPiece;
    const std::size_t lineEnd =
        m_report->Between(least, std::min(least + kReach, m_report->Size())).find('\n');
    return lineEnd != std::string_view::npos ? least + lineEnd + 1
                                             : m_report->CharacterStart(least);
}

std::vector<ReportSearch::Match> ReportSearch::MatchesIn(std::size_t begin, std::size_t end) const {
    // In a line without an end in reach a match may go on into the next piece: 4 bytes a unit hold
    // whatever it is made of.
    const std::size_t reach =
        std::min(m_report->Size(), end + static_cast<std::size_t>(m_wanted.size()) * 4);
    const std::string_view bytes = m_report->Between(begin, reach);
    const QString text = ShownText(bytes);
    const QStringMatcher matcher(m_wanted, Qt::CaseInsensitive);
    std::vector<Match> matches;
    qsizetype unit = 0;
    std::size_t byte = begin;
    for (qsizetype at = matcher.indexIn(text); at >= 0;
         at = matcher.indexIn(text, at + m_wanted.size())) {
        const std::size_t from = byte + BytesOfUnits(bytes.substr(byte - begin), at - unit);
        if (from >= end) {
            break;
        }
        byte = from + BytesOfUnits(bytes.substr(from - begin), m_wanted.size());
        unit = at + m_wanted.size();
        matches.push_back({from, byte});
    }
    return matches;
}

void ReportSearch::CountSome() {
    if (IsWhole()) {
        return;
    }
    std::size_t end = PieceEnd(m_searched);
    const std::vector<Match> matches = MatchesIn(m_searched, end);
    if (!matches.empty()) {
        end = std::max(end, matches.back().end);
    }
    m_pieces.push_back({m_searched, end, m_count});
    m_searched = end;
    m_count += matches.size();
}

ReportSearch::Match ReportSearch::At(std::size_t index) const {
    const auto behind = std::upper_bound(
        m_pieces.begin(), m_pieces.end(), index,
        [](std::size_t wanted, const Piece& piece) { return wanted < piece.before; });
    const Piece& piece = *std::prev(behind);
    return MatchesIn(piece.begin, piece.end).at(index - piece.before);
}

std::size_t ReportSearch::FirstFrom(std::size_t offset) const {
    const auto piece =
        std::upper_bound(m_pieces.begin(), m_pieces.end(), offset,
                         [](std::size_t wanted, const Piece& each) { return wanted < each.end; });
    if (piece == m_pieces.end()) {
        return m_count;
    }
    const std::vector<Match> matches = MatchesIn(piece->begin, piece->end);
    const auto found = std::find_if(matches.begin(), matches.end(),
                                    [offset](const Match& match) { return match.begin >= offset; });
    return piece->before + static_cast<std::size_t>(found - matches.begin());
}
