#pragma once

#include <memory>
#include <string>

#include <QEvent>

#include "abi/scanapi.h"

/// One step of a run of work on its way to the dialog that shows it. Its type says which: 1100 to
/// 1115 are a scan's, 1116 to 1126 an update's. Text and file names are bytes.
class ZqEvent : public QEvent {
public:
    explicit ZqEvent(int type);
    /// With a copy of the engine's record; a null record counts as zero.
    ZqEvent(int type, const tagZQFILEINFO* info);
    /// With an owned copy of `text` (may be null), without one when there is no memory for it; the
    /// record is zero.
    ZqEvent(int type, const char* text);
    ~ZqEvent() override;

    /// The text, null when the event carries none.
    [[nodiscard]] const char* Text() const;
    /// The record, all zero when the event carries none.
    [[nodiscard]] const tagZQFILEINFO& Info() const;
    /// The record, null when the event carries none.
    [[nodiscard]] const tagZQFILEINFO* Record() const { return m_info.get(); }

private:
    std::unique_ptr<std::string> m_text;
    std::unique_ptr<tagZQFILEINFO> m_info;  // most events carry none, and it is a kilobyte
};

/// What customEvent() was given as the ZqEvent it is, null for any other event and for a type
/// outside `first` to `last`.
const ZqEvent* AsZqEvent(const QEvent* event, int first, int last);
