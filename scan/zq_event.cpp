#include "scan/zq_event.h"

#include <atomic>
#include <condition_variable>
#include <mutex>

#include <QCoreApplication>
#include <QThread>

namespace {

constexpr tagZQFILEINFO kNoInfo{};

std::atomic<int> waiting{0};
std::atomic<int> waitingThreads{0};
std::mutex roomMutex;
std::condition_variable room;

bool HasRoom() {
    return waiting.load() < kMaxWaitingEvents;
}

void WaitForRoom() {
    if (HasRoom()) {
        return;
    }
    std::unique_lock lock(roomMutex);
    ++waitingThreads;
    // Not before half of them are gone: waking for every single one costs more than it brings.
    room.wait(lock, [] { return waiting.load() <= kMaxWaitingEvents / 2; });
    --waitingThreads;
}

void OneGone() {
    if (waiting.fetch_sub(1) - 1 == kMaxWaitingEvents / 2 && waitingThreads.load() > 0) {
        const std::scoped_lock lock(roomMutex);
        room.notify_all();
    }
}

bool IsQuestion(int type) {
    return type == kEvtPrompt || type == kEvtConfirmStop;
}

}  // namespace

ZqEvent::ZqEvent(ZQEvent type, const tagZQFILEINFO* info)
    : QEvent(static_cast<QEvent::Type>(type)),
      m_info(info != nullptr ? std::make_unique<tagZQFILEINFO>(*info) : nullptr) {}

ZqEvent::ZqEvent(ZQEvent type, const char* text)
    : QEvent(static_cast<QEvent::Type>(type)),
      m_text(text != nullptr ? std::make_unique<std::string>(text) : nullptr) {}

ZqEvent::~ZqEvent() {
    if (m_counted) {
        OneGone();
    }
}

const char* ZqEvent::Text() const {
    return m_text != nullptr ? m_text->c_str() : nullptr;
}

const tagZQFILEINFO& ZqEvent::Info() const {
    return m_info != nullptr ? *m_info : kNoInfo;
}

void PostCounted(QObject* receiver, std::unique_ptr<ZqEvent> event) {
    if (!IsQuestion(event->type()) && receiver->thread() != QThread::currentThread()) {
        WaitForRoom();
    }
    event->m_counted = true;
    waiting.fetch_add(1);
    QCoreApplication::postEvent(receiver, event.release());
}

void PostZqEvent(QObject* receiver, ZQEvent type, const tagZQFILEINFO* info) {
    PostCounted(receiver, std::make_unique<ZqEvent>(type, info));
}

void PostZqEvent(QObject* receiver, ZQEvent type, const char* text) {
    PostCounted(receiver, std::make_unique<ZqEvent>(type, text));
}

const ZqEvent* AsZqEvent(const QEvent* event) {
    waiting.load(std::memory_order_acquire);
    const int type = event->type();
    return type >= kEvtScanningFile && type <= kEvtFillBar ? static_cast<const ZqEvent*>(event)
                                                           : nullptr;
}

int WaitingEvents() {
    return waiting.load();
}
