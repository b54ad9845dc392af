#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include "product/updturl/line_reader.h"
#include "product/updturl/request.h"

namespace updturl {

/// Whoever runs this process: what they ask on our standard input, and what they are told on our
/// standard output. For one thread.
class Asker {
public:
    Asker(int input, int output) : m_input(input), m_output(output) {}

    /// Waits for the request, kTimeToAsk at most. False, with why in `reason`, when none came or it
    /// is refused.
    bool ReadRequest(Request& request, std::string& reason);

    /// Tells what is done now; at most ten times a second, the last one in Beat.
    void Status(std::uint16_t status, std::string_view fileName = {});

    /// To be called often: repeats the last status where none was told for a while.
    void Beat();

    void Log(std::string_view text);
    void Candidate(std::string_view folder);
    void Switching();
    void Result(int result);

    /// Says a line as it stands, with its newline.
    void Say(std::string_view line);

    /// Whether they asked to stop, or went away. Does not wait.
    bool IsStopping();

    static constexpr std::chrono::seconds kTimeToAsk{10};
    static constexpr std::chrono::milliseconds kBeat{200};
    static constexpr std::chrono::milliseconds kShortestPause{100};

private:
    using Clock = std::chrono::steady_clock;

    bool Write(std::string_view line, std::chrono::milliseconds patience);
    void TellStatus();

    int m_input;
    int m_output;
    LineReader m_reader{kLargestRequest + kLongestLine};
    std::uint16_t m_status = 0;
    std::string m_fileName;
    std::uint16_t m_toldStatus = 0;
    bool m_isTold = true;
    Clock::time_point m_toldAt;
    bool m_isStopping = false;
    bool m_isSlow = false;
};

}  // namespace updturl
