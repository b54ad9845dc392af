#include "product/updturl/progress_listener.h"

#include "common/escaped_text.h"
#include "common/text_field.h"
#include "product/updturl/update_log.h"

namespace updturl {

void ProgressListener::Status(std::uint16_t status, std::string_view fileName) {
    m_info.status = status;
    common::CopyToField(m_info.fileName, common::Escaped(fileName));
    Beat();
}

void ProgressListener::Beat() {
    if (m_callback != nullptr && m_callback(&m_info, m_context) == kUpdateStop) {
        m_isToStop = true;
    }
}

void ProgressListener::Log(std::string_view text) {
    LogUpdate(text);
}

}  // namespace updturl
