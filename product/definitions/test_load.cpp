#include "product/definitions/test_load.h"

#include <algorithm>
#include <clamav.h>
#include <memory>
#include <optional>

#include "common/io.h"
#include "product/definitions/definition_folder.h"
#include "product/definitions/engine_databases.h"
#include "product/definitions/quiet_library.h"

namespace definitions {

namespace {

using Databases = std::vector<Database>;

struct FreeEngine {
    void operator()(cl_engine* engine) const { cl_engine_free(engine); }
};

std::string NameOf(const Database& database) {
    return database.place == kOfSet ? database.path.substr(database.path.rfind('/') + 1)
                                    : database.path;
}

constexpr char kNoLibrary[] = "the library that loads them does not start";

/// How it went to load some databases into one engine.
struct Attempt {
    std::string why;                    ///< it failed, in words; empty when it did not
    std::optional<std::size_t> failed;  ///< the database that could not be loaded
    bool hasSignatures = false;         ///< of the set
};

Attempt Load(const Databases& databases) {
    const std::unique_ptr<cl_engine, FreeEngine> engine(cl_engine_new());
    if (engine == nullptr ||
        cl_engine_set_num(engine.get(), CL_ENGINE_AC_ONLY, kEngineHasOneMatcher) != CL_SUCCESS) {
        return {kNoLibrary, {}};
    }
    bool hasSignatures = false;
    for (std::size_t i = 0; i < databases.size(); ++i) {
        unsigned int signatures = 0;
        const auto result =
            cl_load(databases[i].path.c_str(), engine.get(), &signatures, kEngineLoadOptions);
        if (result != CL_SUCCESS) {
            return {NameOf(databases[i]) + " cannot be loaded: " + cl_strerror(result), i};
        }
        hasSignatures = hasSignatures || (databases[i].place == kOfSet && signatures > 0);
    }
    const auto result = cl_engine_compile(engine.get());
    if (result != CL_SUCCESS) {
        return {std::string("they cannot be used together: ") + cl_strerror(result), {}};
    }
    // Freeing takes a while and the process ends anyway; but what crashes then would crash the
    // engine, too.
    return {{}, {}, hasSignatures};
}

// What a child that loads ends with.
enum LoadStatus {
    kLoaded = 0,
    kBrokeOff = 1,  // without one database that is to blame; of what is thrown, too
    kNotLoaded = 2,
    kOtherNotLoaded = 3,  // one that lies beside the set
    kNotAllLoaded = 4,    // of the set, or no signature of it
};

// No path holds it, whatever a file is named.
constexpr char kSeparator = '\0';

// Each that is damaged beside the set costs two loads, and there may be any number of them.
constexpr int kMaxRounds = 8;

int Say(int talk, const std::string& text, LoadStatus status) {
    (void)common::WriteAll(talk, text);
    return status;
}

/// What to try, each in a child of its own that begins with all the memory and time it may have.
class Trial {
public:
    Trial(const std::string& productDirectory, const std::string& set,
          const std::vector<std::string>& names)
        : m_productDirectory(productDirectory), m_set(set) {
        std::string folder = productDirectory;
        folder.append(kFolderName).append("/").append(set).append("/");
        for (const std::string& name : names) {
            m_ofSet.push_back({folder + name, kOfSet, 0, 0});
        }
    }

    /// Loads the set with what lies beside it. Says why that cannot be done; of kOtherNotLoaded the
    /// path of what lies beside it, kSeparator, and why.
    [[nodiscard]] int LoadTogether(int talk) const {
        if (!StartQuietLibrary()) {
            return Say(talk, kNoLibrary, kNotLoaded);
        }
        const Databases together = Together();
        const Attempt attempt = Load(together);
        if (attempt.failed && together[*attempt.failed].place != kOfSet) {
            return Say(talk, together[*attempt.failed].path + kSeparator + attempt.why,
                       kOtherNotLoaded);
        }
        if (!attempt.why.empty()) {
            return Say(talk, attempt.why, attempt.failed ? kNotLoaded : kBrokeOff);
        }
        // What is damaged at first sight is not among them, nor what lies elsewhere at a newer age,
        // for as long as that is there.
        const bool isWhole =
            std::all_of(m_ofSet.begin(), m_ofSet.end(), [&](const Database& wanted) {
                return std::any_of(together.begin(), together.end(),
                                   [&](const Database& each) { return each.path == wanted.path; });
            });
        return isWhole && attempt.hasSignatures ? kLoaded : kNotAllLoaded;
    }

    /// Loads what the engine would without the set; with `last`, up to that path.
    [[nodiscard]] int LoadWithoutSet(const std::optional<std::string>& last) const {
        Databases others;
        for (Database& each : Together()) {
            const bool isLast = each.path == last;
            if (each.place != kOfSet) {
                others.push_back(std::move(each));
            }
            if (isLast) {
                break;
            }
        }
        if (!StartQuietLibrary()) {
            return kNotLoaded;
        }
        const Attempt attempt = Load(others);
        if (attempt.failed) {
            return kNotLoaded;
        }
        return attempt.why.empty() || last ? kLoaded : kBrokeOff;
    }

    /// Loads the set and nothing else. That a list of exceptions beside it leaves nothing of it is
    /// the administrator's own affair.
    [[nodiscard]] int LoadAlone(int talk) const {
        if (!StartQuietLibrary()) {
            return Say(talk, kNoLibrary, kNotLoaded);
        }
        const Attempt alone = Load(m_ofSet);
        if (!alone.why.empty()) {
            return Say(talk, alone.why, kNotLoaded);
        }
        return alone.hasSignatures ? kLoaded
                                   : Say(talk, "there is not one signature in them", kNotLoaded);
    }

    void LeaveOut(std::string path) { m_leftOut.push_back(std::move(path)); }

private:
    [[nodiscard]] Databases Together() const {
        Databases databases = FindDatabases(m_productDirectory, m_set).usable;
        std::erase_if(databases, [this](const Database& each) {
            return std::find(m_leftOut.begin(), m_leftOut.end(), each.path) != m_leftOut.end();
        });
        return databases;
    }

    const std::string& m_productDirectory;
    const std::string& m_set;
    Databases m_ofSet;
    std::vector<std::string> m_leftOut;
};

bool EndedWith(const ChildResult& child, LoadStatus status) {
    return child.end == ChildEnd::kFailed && child.status == status;
}

// Nothing was found out of any one database: a crash, limits used up, or no use of them all.
bool IsUndecided(const ChildResult& child) {
    return child.end == ChildEnd::kDied || child.end == ChildEnd::kTooSlow ||
           EndedWith(child, kBrokeOff);
}

bool IsBrokenOff(const ChildResult& child) {
    return child.end == ChildEnd::kStopped || child.end == ChildEnd::kNotStarted;
}

// What lies beside the set must not use up the time to judge it by itself.
ChildLimits WithTimeToSpare(ChildLimits limits) {
    if (limits.end != ChildLimits::Clock::time_point::max()) {
        limits.end -= (limits.end - ChildLimits::Clock::now()) / 3;
    }
    return limits;
}

TestLoadResult Verdict(const ChildResult& child) {
    const bool isTold = child.end == ChildEnd::kFailed && !child.said.empty();
    return {child.end == ChildEnd::kSucceeded, child.end, isTold ? child.said : child.why};
}

}  // namespace

TestLoadResult TestLoad(const std::string& productDirectory, const std::string& set,
                        const std::vector<std::string>& names, const ChildLimits& limits,
                        const GoOn& goOn) {
    Trial trial(productDirectory, set, names);
    const ChildLimits besideOthers = WithTimeToSpare(limits);
    const auto loadWithoutSet = [&](const std::optional<std::string>& last) {
        return RunLimited(
            besideOthers, [&](int) { return trial.LoadWithoutSet(last); }, goOn);
    };
    std::string pushedOut;
    for (int round = 0; round < kMaxRounds; ++round) {
        const ChildResult together = RunLimited(
            besideOthers, [&](int talk) { return trial.LoadTogether(talk); }, goOn);
        if (EndedWith(together, kNotAllLoaded)) {
            break;
        }
        if (IsUndecided(together)) {
            // Where they do it without the set, too, it says nothing of the set.
            const ChildResult without = loadWithoutSet({});
            if (IsUndecided(without)) {
                break;
            }
            return Verdict(IsBrokenOff(without) ? without : together);
        }
        if (!EndedWith(together, kOtherNotLoaded)) {
            return Verdict(together);
        }
        const std::size_t end = together.said.find(kSeparator);
        const std::string other = together.said.substr(0, end);
        if (other == pushedOut) {
            return {false, ChildEnd::kFailed,
                    together.said.substr(end + 1) + ", together with them"};
        }
        const ChildResult without = loadWithoutSet(other);
        if (IsBrokenOff(without)) {
            return Verdict(without);
        }
        if (without.end == ChildEnd::kTooSlow) {
            break;
        }
        if (without.end == ChildEnd::kSucceeded) {
            // Or it was replaced in between, and is whole by now.
            pushedOut = other;
        } else {
            trial.LeaveOut(other);
        }
    }
    return Verdict(RunLimited(
        limits, [&](int talk) { return trial.LoadAlone(talk); }, goOn));
}

}  // namespace definitions
