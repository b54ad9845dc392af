#include "scan/run/unread_files.h"

#include "common/text_field.h"

namespace scan {

void UnreadFiles::Clear() {
    m_known.clear();
    m_count = 0;
}

void UnreadFiles::Add(const tagZQFILEINFO& info) {
    if (++m_count <= kMaxKnown) {
        m_known.push_back({std::string(common::FieldText(info.fileName)),
                           std::string(common::FieldText(info.virusName))});
    }
}

}  // namespace scan
