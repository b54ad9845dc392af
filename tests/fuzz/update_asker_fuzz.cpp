// What the update service does with the bytes of whoever asks it, over a real socket: which wish it
// takes, when somebody is gone, and what of its answer arrives, against a second, plain model of
// it.

#include <cstdint>
#include <string>
#include <string_view>

#include "product/updated/asker.h"
#include "tests/fuzz/far_end.h"
#include "tests/fuzz/fuzz.h"

namespace {

using updated::Asker;
using State = updated::Asker::State;

constexpr std::size_t kMostHeard = 64;
constexpr std::size_t kMostKept = 65536;

/// What has to become of an asker.
class Model {
public:
    State state = State::kNew;
    bool isStopping = false;
    Asker::Wish wish = Asker::Wish::kUpdate;

    void Hear(std::string_view bytes, bool isEnd) {
        m_heard += bytes.size();
        if (m_heard > kMostHeard || isEnd) {
            state = State::kGone;
            return;
        }
        m_line += bytes;
        for (std::size_t end = m_line.find('\n'); end != std::string::npos;
             end = m_line.find('\n')) {
            Take(m_line.substr(0, end));
            m_line.erase(0, end + 1);
        }
    }

private:
    void Take(const std::string& line) {
        const bool isRun = state == State::kRunning || state == State::kLeaving;
        const bool isWish = line == "update" || line == "index";
        if (isRun && line == "stop") {
            isStopping = true;
        } else if (state == State::kNew && isWish) {
            state = State::kWaiting;
            wish = line == "index" ? Asker::Wish::kIndex : Asker::Wish::kUpdate;
        } else {
            state = State::kGone;
        }
    }

    std::size_t m_heard = 0;
    std::string m_line;
};

/// One who asks, the service's side of it, and what is known of both.
class Connection {
public:
    Connection() : m_asker(m_far.TakeNear()) {}

    void Step(FuzzInput& input) {
        switch (input.TakeByte() % 12) {
            case 0:
                Send(input.TakeBytes(input.TakeByte()));
                break;
            case 1:
                Send(std::string(input.TakeLine()) + "\n");
                break;
            case 2:
                Say(input.TakeByte(), false);
                break;
            case 3:
                Say(input.TakeByte(), true);
                break;
            case 4:
                Begin();
                break;
            case 5:
                Leave();
                break;
            case 6:
                Receive(std::size_t{64} * input.TakeByte());
                break;
            case 7:
                Flush();
                break;
            case 8:
                m_far.EndSending();
                break;
            case 9:
                m_keptAtEnd = Unsent();
                m_far.Close();
                break;
            default:
                Hear();
                break;
        }
        Check();
    }

    [[nodiscard]] bool IsOver() const { return m_model.state == State::kGone; }

    /// Whoever has its result and goes on reading gets all of it.
    void Finish() {
        while (m_far.IsOpen() && m_model.state == State::kLeaving) {
            Require(m_received.size() < m_said.size(), "one who has everything does not go");
            Receive(kMostKept);
            Flush();
            Check();
        }
        if (m_far.IsOpen()) {
            Receive(2 * kMostKept);
            Require(std::string_view(m_said).starts_with(m_received), "another answer arrived");
        }
    }

private:
    void Send(std::string_view bytes) {
        if (m_far.IsSending()) {
            m_sent += m_far.Send(bytes);
        }
    }

    /// As the service does it: where there is something to hear.
    void Hear() {
        if (m_sent.empty() && m_far.IsSending()) {
            return;
        }
        m_asker.Hear();
        m_model.Hear(m_sent, m_sent.empty());
        m_sent.clear();
    }

    void Begin() {
        if (m_model.state == State::kWaiting) {
            m_asker.Begin();
            m_model.state = State::kRunning;
        }
    }

    void Say(unsigned char size, bool isMention) {
        if (m_model.state != State::kWaiting && m_model.state != State::kRunning) {
            return;
        }
        // Each in another letter, so that none is taken for its neighbour.
        const char letter = static_cast<char>('a' + size % 26);
        const std::string line = std::string(std::size_t{16} * size, letter) + "\n";
        const std::size_t kept = Unsent();
        if (isMention) {
            m_asker.Mention(line);
        } else {
            m_asker.Say(line);
        }
        if (isMention && kept >= kMostKept / 2) {
            return;
        }
        if (kept + line.size() > kMostKept || !m_far.IsOpen()) {
            m_model.state = State::kGone;
            return;
        }
        m_said += line;
    }

    void Leave() {
        if (m_model.state == State::kRunning) {
            m_asker.Leave();
            m_model.state = Unsent() == 0 ? State::kGone : State::kLeaving;
        }
    }

    void Flush() {
        if (!m_asker.HasUnsent()) {
            return;
        }
        m_asker.Send();
        if (!m_far.IsOpen() || (m_model.state == State::kLeaving && Unsent() == 0)) {
            m_model.state = State::kGone;
        }
    }

    void Receive(std::size_t limit) {
        if (m_far.IsOpen()) {
            m_far.Receive(m_received, limit);
        }
    }

    /// How much the service still keeps for it, in bytes.
    [[nodiscard]] std::size_t Unsent() const {
        return m_far.IsOpen() ? m_said.size() - m_received.size() - m_far.Waiting() : m_keptAtEnd;
    }

    void Check() const {
        Require(m_asker.Now() == m_model.state, "the asker is in another state");
        Require(m_asker.IsStopping() == m_model.isStopping, "a stop that is none, or none that is");
        Require(m_asker.Wanted() == m_model.wish, "another wish");
        if (m_model.state != State::kGone) {
            Require(m_asker.HasUnsent() == (Unsent() > 0), "an answer is kept, or lost");
        }
    }

    FarEnd m_far;
    Asker m_asker;
    Model m_model;
    std::string m_sent;      // by the asker, and not heard yet
    std::string m_said;      // to it, and not lost
    std::string m_received;  // by it
    std::size_t m_keptAtEnd = 0;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Connection connection;
    while (!input.IsEmpty() && !connection.IsOver()) {
        connection.Step(input);
    }
    connection.Finish();
    return 0;
}
