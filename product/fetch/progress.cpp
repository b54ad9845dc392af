#include "product/fetch/progress.h"

#include <algorithm>
#include <thread>

#include "abi/updturl.h"

namespace fetch {

namespace {

// Four times a second, with room for what comes between two beats.
constexpr std::chrono::milliseconds kLongestSilence{150};

}  // namespace

void Progress::Status(std::uint16_t status, std::string_view name) {
    m_status = status;
    m_name = name;
    m_lastTold = Clock::now();
    m_listener.Status(m_status, m_name);
}

void Progress::Refuse(std::string_view text) {
    Log(text);
    Status(kUpdateProcessingFailed);
}

bool Progress::GoesOn() {
    m_isStopping = m_isStopping || m_listener.IsStopping();
    if (!m_isStopping && Clock::now() - m_lastTold >= kLongestSilence && m_status != 0) {
        Status(m_status, std::string(m_name));
    }
    return !m_isStopping;
}

bool Progress::Wait(std::chrono::milliseconds time) {
    const auto end = Clock::now() + time;
    while (GoesOn()) {
        const auto left = end - Clock::now();
        if (left <= Clock::duration::zero()) {
            return true;
        }
        std::this_thread::sleep_for(std::min<Clock::duration>(left, kBeat));
    }
    return false;
}

}  // namespace fetch
