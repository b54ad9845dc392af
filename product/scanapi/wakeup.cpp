#include "product/scanapi/wakeup.h"

#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace scanapi {

Wakeup::Wakeup() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Wakeup::Wake() const {
    constexpr std::uint64_t kOnce = 1;
    (void)!::write(m_event.Get(), &kOnce, sizeof kOnce);
}

void Wakeup::Clear() const {
    std::uint64_t times = 0;
    (void)!::read(m_event.Get(), &times, sizeof times);
}

}  // namespace scanapi
