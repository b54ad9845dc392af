#include "schedule/scheduler_library.h"

#include <dlfcn.h>

#include "abi/schdlscn.h"
#include "common/paths.h"

namespace {

QString LoaderError() {
    const char* words = dlerror();
    return words == nullptr ? QString() : QString::fromLocal8Bit(words);
}

}  // namespace

std::string ScheduleTaskList() {
    return common::InProductDirectory(kScheduleTaskList);
}

bool SchedulerLibrary::Load() {
    const std::string path = common::InProductDirectory(kSchedulerLibrary);
    // Not through the product's loader, which binds at once and keeps the reason in its log.
    m_library.reset(dlopen(path.c_str(), RTLD_LAZY | RTLD_LOCAL));
    m_error = m_library == nullptr ? LoaderError() : QString();
    return m_library != nullptr;
}

void* SchedulerLibrary::Address(const char* name) {
    if (m_library == nullptr) {
        return nullptr;
    }
    void* address = dlsym(m_library.get(), name);
    if (address == nullptr) {
        m_error = LoaderError();
    }
    return address;
}
