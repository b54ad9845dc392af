#include "widgets/zq_event.h"

#include <new>

namespace {

constexpr tagZQFILEINFO kNoInfo{};

/// Without memory for its text an event goes without: the step is counted all the same.
std::unique_ptr<std::string> CopyOf(const char* text) noexcept {
    try {
        return text != nullptr ? std::make_unique<std::string>(text) : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

ZqEvent::ZqEvent(int type) : QEvent(static_cast<QEvent::Type>(type)) {}

ZqEvent::ZqEvent(int type, const tagZQFILEINFO* info)
    : QEvent(static_cast<QEvent::Type>(type)),
      m_info(info != nullptr ? std::make_unique<tagZQFILEINFO>(*info) : nullptr) {}

ZqEvent::ZqEvent(int type, const char* text)
    : QEvent(static_cast<QEvent::Type>(type)), m_text(CopyOf(text)) {}

ZqEvent::~ZqEvent() = default;

const char* ZqEvent::Text() const {
    return m_text != nullptr ? m_text->c_str() : nullptr;
}

const tagZQFILEINFO& ZqEvent::Info() const {
    return m_info != nullptr ? *m_info : kNoInfo;
}

const ZqEvent* AsZqEvent(const QEvent* event, int first, int last) {
    const int type = event->type();
    // Another event may bear one of these numbers.
    return type >= first && type <= last ? dynamic_cast<const ZqEvent*>(event) : nullptr;
}
