#pragma once

#include <string>

#include "common/file_descriptor.h"

namespace updated {

/// Keeps the update options open to every user. An update that root starts in the window leaves
/// them readable only, and the next one of an ordinary user would fail to start and call it a
/// success. For one thread; works for the owner of the file, who is the user of the service.
class OptionWatch {
public:
    /// Watches "zqupdate.opt" in `directory`, which ends in "/", and sets its mode now.
    explicit OptionWatch(const std::string& directory);

    /// Becomes readable when something has happened there; -1 when the machine cannot tell.
    [[nodiscard]] int Descriptor() const { return m_watch.Get(); }

    /// To be called then.
    void Look();

private:
    void SetMode() const;

    std::string m_path;
    common::FileDescriptor m_watch;
};

}  // namespace updated
