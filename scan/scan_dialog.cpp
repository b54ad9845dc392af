#include "scan/scan_dialog.h"

#include <utility>

#include <QCoreApplication>
#include <QThread>
#include <QTimerEvent>

namespace {

QEvent::Type WakeUpType() {
    static const int kType = QEvent::registerEventType();
    return static_cast<QEvent::Type>(kType);
}

/// The handler of a question runs an event loop of its own, and its thread waits for the answer.
bool IsQuestion(const ZqEvent& event) {
    return event.type() == static_cast<int>(kEvtPrompt) ||
           event.type() == static_cast<int>(kEvtConfirmStop);
}

}  // namespace

ScanDialog::~ScanDialog() {
    m_events.Close();
    m_run.Abandon();  // should the engine still be at a file of it
}

void ScanDialog::Tell(const ScanStep& step) {
    if (step.info != nullptr) {
        PostZqEvent(this, step.type, step.info);
    } else {
        PostZqEvent(this, step.type, step.text);
    }
}

void ScanDialog::Ask(const ScanStep& question) {
    Tell(question);
}

void PostZqEvent(ScanDialog* dialog, std::unique_ptr<ZqEvent> event) {
    const bool mayWait = !IsQuestion(*event) && dialog->thread() != QThread::currentThread();
    if (dialog->m_events.Put(std::move(event), mayWait)) {
        auto wakeUp = std::make_unique<QEvent>(WakeUpType());
        dialog->m_wakeUps.fetch_add(1, std::memory_order_release);
        QCoreApplication::postEvent(dialog, wakeUp.release());
    }
}

void PostZqEvent(ScanDialog* dialog, ZQEvent type, const tagZQFILEINFO* info) {
    PostZqEvent(dialog, std::make_unique<ZqEvent>(type, info));
}

void PostZqEvent(ScanDialog* dialog, ZQEvent type, const char* text) {
    PostZqEvent(dialog, std::make_unique<ZqEvent>(type, text));
}

bool ScanDialog::event(QEvent* event) {
    m_wakeUps.load(std::memory_order_acquire);
    if (event->type() == WakeUpType()) {
        Deliver();
        return true;
    }
    return QDialog::event(event);
}

void ScanDialog::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_nextHelping.timerId()) {
        Deliver();
    } else {
        QDialog::timerEvent(event);
    }
}

void ScanDialog::Deliver() {
    auto taken = m_events.TakeAll();
    if (taken.empty() && m_helping.empty()) {
        m_nextHelping.stop();
        return;
    }
    // A timer and not another posted event: the loop handles those without end while there are any,
    // and nothing else.
    m_nextHelping.start(0, this);
    std::move(taken.begin(), taken.end(), std::back_inserter(m_helping));
    while (!m_helping.empty()) {
        // Taken out first: a question's event loop comes back here for what waits behind it.
        const std::unique_ptr<ZqEvent> next = std::move(m_helping.front());
        m_helping.pop_front();
        customEvent(next.get());
    }
}
