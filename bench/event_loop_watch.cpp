// Preloaded into the program: a timer of a millisecond in the thread of its windows. It writes into
// the file that CORVANE_EVENT_LOOP names, once for each update, "begin=S longest=S end=S": the
// longest that the timer waited for its turn when the dialog of the update came, while it was
// there, and from then on until the message of the result had come.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <memory>
#include <string>

#include <QApplication>
#include <QTimer>
#include <QWidget>

#include "bench/measurements.h"

namespace {

class EventLoopWatch {
public:
    explicit EventLoopWatch(std::string path) : m_path(std::move(path)) {
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.setInterval(1);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { Look(); });
        m_timer.start();
    }

private:
    enum class Phase { kIdle, kUpdating, kEnding };

    /// Until something else has the user's attention an update that has gone is still ending.
    [[nodiscard]] Phase Next() const {
        const QWidget* const modal = QApplication::activeModalWidget();
        if (modal != nullptr && modal->objectName() == QLatin1String("dlgUpdate")) {
            return Phase::kUpdating;
        }
        return modal == nullptr && m_phase != Phase::kIdle ? Phase::kEnding : Phase::kIdle;
    }

    void Look() {
        const double gap = m_last.Seconds();
        m_last = {};
        const Phase next = Next();
        if (next == Phase::kUpdating && m_phase == Phase::kIdle) {
            m_begin = gap;
            m_longest = m_end = 0;
        } else if (next == Phase::kUpdating) {
            m_longest = std::max(m_longest, gap);
        } else if (m_phase != Phase::kIdle) {
            m_end = std::max(m_end, gap);
        }
        if (next == Phase::kIdle && m_phase != Phase::kIdle) {
            Write();
        }
        m_phase = next;
    }

    void Write() const {
        std::FILE* const file = std::fopen(m_path.c_str(), "we");
        if (file != nullptr) {
            std::fprintf(file, "begin=%.4f longest=%.4f end=%.4f\n", m_begin, m_longest, m_end);
            (void)std::fclose(file);
        }
    }

    std::string m_path;
    QTimer m_timer;
    Stopwatch m_last;
    Phase m_phase = Phase::kIdle;
    double m_longest = 0;
    double m_begin = 0;
    double m_end = 0;
};

}  // namespace

/// In place of the toolkit's own, which it calls.
int QApplication::exec() {
    // What the program starts is not watched.
    ::unsetenv("LD_PRELOAD");
    std::unique_ptr<EventLoopWatch> watch;
    if (const char* path = std::getenv("CORVANE_EVENT_LOOP")) {
        watch = std::make_unique<EventLoopWatch>(path);
    }
    const auto own = reinterpret_cast<int (*)()>(::dlsym(RTLD_NEXT, "_ZN12QApplication4execEv"));
    return own();
}
