#pragma once

#include <clamav.h>
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

    /// Whoever is told of members wants no more.
    [[nodiscard]] bool IsStopped() const { return m_stopped; }
    /// Nothing more needs to be looked at.
    [[nodiscard]] bool Ended() const { return m_found || m_stopped || m_broken; }

    /// Tells of a member, once, also when the file is gone through again.
    void Announce(const std::string& path);

    /// False when `bytes` were met before, in the same kind of `containers`: they need no other
    /// look.
    bool Admit(std::string_view containers, std::span<const std::byte> bytes) {
        return m_seen.Add(containers, bytes);
    }

    void Found(Hit hit);
    void Unread(std::string_view reason);             ///< the first reason stays
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
    bool m_findsAll = false;
    bool m_again = false;

    std::vector<Hit> m_hits{};
    std::string_view m_reason{};
    SeenContents m_seen{};
    bool m_found = false;  ///< something that counts
    bool m_libraryFailed = false;
    bool m_typeUnknown = false;
    bool m_recognised = false;  ///< something was found in the file, so its type is known
    bool m_stopped = false;
    bool m_broken = false;
};

}  // namespace scanning
