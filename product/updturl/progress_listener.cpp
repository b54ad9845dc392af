#include "product/updturl/progress_listener.h"

#include "common/text_field.h"

namespace updturl {

void ProgressListener::Tell(std::uint16_t status, std::string_view fileName) {
    m_info.status = status;
    CopyToField(m_info.fileName, fileName);
    TellAgain();
}

void ProgressListener::TellAgain() {
    if (m_callback != nullptr && m_callback(&m_info, m_context) == kUpdateStop) {
        m_isToStop = true;
    }
}

}  // namespace updturl
