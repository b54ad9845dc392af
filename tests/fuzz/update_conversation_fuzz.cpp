// What whoever asks for an update does with the bytes of the update service, over a real socket and
// in pieces: which steps the program is told, how the conversation ends and with what result, and
// what the service hears, against a second, plain model of it.

#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "common/escaped_text.h"
#include "product/updturl/conversation.h"
#include "product/updturl/progress_listener.h"
#include "product/updturl/service_connection.h"
#include "tests/fuzz/far_end.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/update_oracle.h"

namespace {

using updturl::Ending;
using updturl::MessageKind;

constexpr std::size_t kMostAtOnce = 8192;  // is read in one go

/// How the conversation goes, apart from what the service says.
struct Course {
    explicit Course(FuzzInput& input) {
        const unsigned char bits = input.TakeByte();
        maySwitch = (bits & 1U) != 0;
        isPatient = (bits & 2U) != 0;
        isLate = (bits & 4U) != 0;
        isCutOff = (bits & 8U) != 0;
        stopAt = input.TakeByte();
        for (std::size_t& size : sizes) {
            const unsigned char byte = input.TakeByte();
            size = byte < 128 ? byte + std::size_t{1} : (byte - std::size_t{127}) * 64;
        }
    }

    /// Of the piece that the service says in this turn, counted from 1: a long run is not made of
    /// nothing but small ones.
    [[nodiscard]] std::size_t SizeIn(std::size_t turn) const {
        constexpr std::size_t kSmallPieces = 12;
        return turn <= kSmallPieces ? sizes[turn % sizes.size()] : kMostAtOnce;
    }
    [[nodiscard]] bool IsStoppedIn(std::size_t turn) const { return stopAt != 0 && turn >= stopAt; }

    bool maySwitch = false;
    bool isPatient = false;  ///< a stop may take for ever; else it must be answered at once
    bool isLate = false;     ///< the time is up from the beginning
    bool isCutOff = false;   ///< the service goes without having read; else it says that it is done
    std::size_t stopAt = 0;  ///< the turn in which the user stops it; 0 for never
    std::array<std::size_t, 4> sizes{};  ///< of the pieces, over and over
};

/// One byte stands for many, or no line would ever be too long.
std::string Unpacked(std::string_view packed) {
    constexpr char kMany = '\xff';
    constexpr std::size_t kMost = 4 * kOracleLongestLine;
    std::string bytes;
    for (const char byte : packed.substr(0, kMost)) {
        bytes.append(byte == kMany && bytes.size() < kMost ? 1000 : 1, byte == kMany ? 'x' : byte);
    }
    return bytes;
}

std::string StatusStep(unsigned int status, std::string_view name) {
    return "status " + std::to_string(status) + " " + std::string(name);
}

/// A file's name as it reaches the program: nothing in it that misleads, and cut to its field.
std::string ShownName(std::string_view name) {
    return common::Escaped(name).substr(0, sizeof tagUPDATEINFO::fileName - 1);
}

/// Hears what the program is told, and says a piece of the service's in each turn.
class Listener : public updturl::ProgressListener {
public:
    Listener(const Course& course, std::string_view bytes)
        : ProgressListener(&OnProgress, this), m_course(course), m_bytes(bytes) {}

    common::FileDescriptor TakeNear() { return m_far.TakeNear(); }

    void Status(std::uint16_t status, std::string_view fileName) override {
        m_isStep = true;
        ProgressListener::Status(status, fileName);
        m_isStep = false;
    }
    void Log(std::string_view text) override { m_steps.push_back("log " + std::string(text)); }
    void Candidate(std::string_view folder) override {
        m_steps.push_back("candidate " + std::string(folder));
    }
    bool IsToStop() override {
        if (!SayPiece(m_course.SizeIn(m_turns + 1)) && m_far.IsSending()) {
            m_course.isCutOff ? m_far.Close() : m_far.EndSending();
        }
        ++m_turns;
        return m_course.IsStoppedIn(m_turns);
    }

    bool SayPiece(std::size_t size) {
        if (!m_far.IsSending() || m_bytes.empty()) {
            return false;
        }
        const std::string_view piece = m_bytes.substr(0, size);
        RequireSame(m_far.Send(piece), piece, "what a socket takes");
        m_bytes.remove_prefix(piece.size());
        return true;
    }

    [[nodiscard]] const std::vector<std::string>& Steps() const { return m_steps; }
    [[nodiscard]] bool IsHeard() const { return m_far.IsOpen(); }
    [[nodiscard]] std::string Heard() const {
        std::string bytes;
        m_far.Receive(bytes, 100);
        return bytes;
    }

private:
    static int OnProgress(const tagUPDATEINFO* info, void* context) {
        auto& self = *static_cast<Listener*>(context);
        const void* const end = std::memchr(info->fileName, 0, sizeof info->fileName);
        Require(end != nullptr, "a name without an end");
        if (self.m_isStep) {
            self.m_steps.push_back(StatusStep(info->status, info->fileName));
        }
        return kUpdateGoOn;
    }

    const Course& m_course;
    std::string_view m_bytes;
    FarEnd m_far;
    std::size_t m_turns = 0;
    bool m_isStep = false;
    std::vector<std::string> m_steps;
};

/// What has to come of it.
class Model {
public:
    Model(const Course& course, std::string_view bytes) : m_course(course), m_bytes(bytes) {}

    Ending Hold() {
        for (std::size_t turn = 1;; ++turn) {
            const bool isEnd = m_bytes.empty();
            if (!m_isAsked && (m_course.IsStoppedIn(turn) || m_course.isLate)) {
                m_isAsked = true;
                m_reason = m_course.IsStoppedIn(turn) ? Ending::kStopped : Ending::kTooLate;
                m_isAtOnce = !m_course.isPatient && !m_isSwitching;
            }
            HearPiece(m_course.SizeIn(turn));
            if (m_result) {
                return Ending::kResult;
            }
            if (isEnd || m_isTooLong || (m_isAtOnce && !m_isSwitching)) {
                return m_isAsked && !m_isSwitching ? m_reason : Ending::kSilence;
            }
        }
    }

    void HearPiece(std::size_t size) {
        const std::string_view piece = m_bytes.substr(0, size);
        m_bytes.remove_prefix(piece.size());
        if (m_isTooLong) {
            return;
        }
        m_line += piece;
        std::size_t end = 0;
        while ((end = m_line.find('\n')) < kOracleLongestLine) {
            Take(m_line.substr(0, end));
            m_line.erase(0, end + 1);
        }
        m_isTooLong = m_line.size() > kOracleLongestLine;
    }

    [[nodiscard]] const std::vector<std::string>& Steps() const { return m_steps; }
    [[nodiscard]] std::optional<int> Result() const { return m_result; }
    [[nodiscard]] bool IsAsked() const { return m_isAsked; }

private:
    void Take(const std::string& line) {
        const auto message = OracleMessage(line);
        if (m_result || !message) {
            return;
        }
        switch (message->kind) {
            case MessageKind::kStatus:
                m_steps.push_back(StatusStep(message->number, ShownName(message->text)));
                break;
            case MessageKind::kLog:
                m_steps.push_back("log " + message->text);
                break;
            case MessageKind::kCandidate:
                m_steps.push_back("candidate " + message->text);
                break;
            case MessageKind::kSwitching:
                m_isSwitching = m_isSwitching || m_course.maySwitch;
                break;
            case MessageKind::kResult:
                m_result = message->number;
                break;
        }
    }

    const Course& m_course;
    std::string_view m_bytes;
    std::string m_line;
    std::vector<std::string> m_steps;
    std::optional<int> m_result;
    bool m_isTooLong = false;
    bool m_isSwitching = false;
    bool m_isAsked = false;
    bool m_isAtOnce = false;
    Ending m_reason = Ending::kStopped;
};

updturl::ConversationRules RulesOf(const Course& course) {
    updturl::ConversationRules rules;
    rules.maySwitch = course.maySwitch;
    rules.timeToStop = course.isPatient ? std::chrono::hours(1) : std::chrono::milliseconds(0);
    if (course.isLate) {
        rules.end = updturl::Conversation::Clock::now();
    }
    return rules;
}

void RequireSameSteps(const std::vector<std::string>& actual,
                      const std::vector<std::string>& expected) {
    for (std::size_t i = 0; i < actual.size() && i < expected.size(); ++i) {
        RequireSame(actual[i], expected[i], "a step");
    }
    RequireSame(static_cast<long long>(actual.size()), static_cast<long long>(expected.size()),
                "the number of steps");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const Course course(input);
    const std::string bytes = Unpacked(input.TakeRest());
    Listener listener(course, bytes);
    updturl::Conversation conversation(listener.TakeNear(), listener);
    Model model(course, bytes);

    Require(conversation.Hold(updturl::kWishToUpdate, RulesOf(course)) == model.Hold(),
            "the conversation ends in another way");
    if (!model.Result() && listener.SayPiece(kMostAtOnce)) {
        model.HearPiece(kMostAtOnce);
    }
    conversation.HearTheRest();

    Require(conversation.Result() == model.Result(), "another result");
    RequireSameSteps(listener.Steps(), model.Steps());
    if (listener.IsHeard()) {
        RequireSame(listener.Heard(), model.IsAsked() ? "update\nstop\n" : "update\n",
                    "what the service heard");
    }
    return 0;
}
