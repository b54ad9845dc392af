#pragma once

#include <clamav.h>
#include <cstddef>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanning/library_scan.h"
#include "product/scanning/seen_contents.h"

namespace scanning {

struct Hit {
    std::string name;
    std::string member;
};

/// What the looks at a file and at all that is in it have in common. A file may be gone through
/// more than once, each time with another way to look.
class WholeScan {
public:
    /// All three are kept by reference.
    WholeScan(const cl_engine* engine, const ScanProfile& profile, const OnMember& onMember)
        : m_engine(engine), m_profile(profile), m_onMember(onMember) {}

    [[nodiscard]] const cl_engine* Engine() const { return m_engine; }
    [[nodiscard]] const ScanProfile& Profile() const { return m_profile; }
    [[nodiscard]] bool FindsAll() const { return m_findsAll; }
    /// What libclamav reads is read by us as well, since it did not read all.
    [[nodiscard]] bool IsThorough() const { return m_thorough; }

    /// Whoever is told of members wants no more.
    [[nodiscard]] bool IsStopped() const { return m_stopped; }
    /// Nothing more needs to be looked at.
    [[nodiscard]] bool Ended() const { return m_found || m_stopped || m_broken; }

    /// Tells of a member; when the file is gone through again, only of those not told of before.
    void Announce(const std::string& path);

    /// Counts what is about to be looked at, `unpackedByUs` or by libclamav, which has its own
    /// counts. False when it was met before, in the same kind of `containers`, or when there is
    /// more than one scan reads.
    bool Admit(std::string_view containers, std::span<const std::byte> bytes, bool unpackedByUs);

    /// How many bytes may still be unpacked for looks of our own.
    [[nodiscard]] std::size_t& Room() { return m_room; }

    void Found(Hit hit);
    void Unread(std::string_view reason);             ///< the first reason stays
    void Missed() { m_missed = true; }                ///< libclamav did not enter all of an archive
    void LibraryFailed() { m_libraryFailed = true; }  ///< it complained of an error of its own
    void TypeIsUnknown() { m_typeUnknown = true; }    ///< by the first bytes of the file
    void Recognised() { m_recognised = true; }
    void Break() { m_broken = true; }  ///< a callback ran out of memory

    [[nodiscard]] std::size_t Hits() const { return m_hits.size(); }

    /// True when the file has to be gone through once more, in another way; forgets what came of
    /// the way before.
    bool GoAgain();

    /// What all of it comes to.
    ScanOutcome Outcome();

private:
    [[nodiscard]] bool IsReported(const Hit& hit) const;

    const cl_engine* m_engine;
    const ScanProfile& m_profile;
    const OnMember& m_onMember;
    static constexpr auto kAllRoom = static_cast<std::size_t>(kMaxScanSize);

    bool m_findsAll = false;
    bool m_thorough = false;
    bool m_again = false;
    std::set<std::string, std::less<>> m_announced{};

    std::vector<Hit> m_hits{};
    std::string_view m_reason{};
    SeenContents m_seen{};
    std::size_t m_members = 0;  ///< unpacked by us
    std::size_t m_bytes = 0;    ///< in them
    std::size_t m_room = kAllRoom;
    bool m_missed = false;
    bool m_found = false;  ///< something that counts
    bool m_libraryFailed = false;
    bool m_typeUnknown = false;
    bool m_recognised = false;  ///< something was found in the file, so its type is known
    bool m_stopped = false;
    bool m_broken = false;
};

}  // namespace scanning
