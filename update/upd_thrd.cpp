#include "update/upd_thrd.h"

#include "update/run/updater_settings.h"
#include "update/update_dialog.h"

std::atomic<UpdateDialog*> g_receiver = nullptr;

UpdThrd::UpdThrd(UpdateDialog* receiver) : m_receiver(receiver) {
    g_receiver = receiver;
}

UpdThrd::~UpdThrd() {
    g_receiver = nullptr;
}

void UpdThrd::Join() {
    wait();
    m_ended.load(std::memory_order_acquire);
}

int UpdThrd::GetUpdateinfo(tagZQINETCONFIG* settings) {
    return settings != nullptr && update::ReadUpdaterSettings(*settings) ? 1 : 0;
}

void UpdThrd::run() {
    m_receiver->Run().Run();
    m_ended.store(true, std::memory_order_release);
}
