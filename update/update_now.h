#pragma once

#include <cstdint>

#include <QCoreApplication>

class QWidget;

/// An update as the user asks for it: keeps other updates of the machine out, runs one in its
/// dialog over `parent`, writes the update report, tells the services and the user how it ended.
/// GUI thread.
class UpdateNow {
    Q_DECLARE_TR_FUNCTIONS(UpdateNow)

public:
    explicit UpdateNow(QWidget* parent) : m_parent(parent) {}

    /// Returns when the user has read how it ended.
    void Run();

private:
    void ActOn(std::int16_t outcome);

    QWidget* m_parent;
};
