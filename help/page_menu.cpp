#include "help/page_menu.h"

#include <climits>

#include <QAction>
#include <QFile>
#include <QFontMetrics>
#include <QMenu>

#include "widgets/display_name.h"

namespace {

constexpr int kMostLetters = 60;  // in the width of an entry

// A path as a line of a menu, in which "&" would underline a letter.
QString EntryText(const QMenu& menu, const QString& path) {
    const QFontMetrics metrics = menu.fontMetrics();
    const QString name = DisplayName(QFile::encodeName(path).toStdString());
    return metrics.elidedText(name, Qt::ElideMiddle, kMostLetters * metrics.averageCharWidth())
        .replace(QLatin1Char('&'), QLatin1String("&&"));
}

}  // namespace

PageMenu::PageMenu(QMenu* menu, int most, QObject* parent)
    : QObject(parent), m_menu(menu), m_most(most) {}

void PageMenu::Add(const QString& path) {
    if (path.isEmpty() || path.size() >= PATH_MAX) {
        return;
    }
    if (m_paths.size() == m_most) {
        RemoveEntry(m_paths.firstKey());
    }
    const int id = m_nextId++;
    m_paths.insert(id, path);
    QAction* entry = m_menu->addAction(EntryText(*m_menu, path));
    entry->setData(id);
    connect(entry, &QAction::triggered, this, [this, id] { emit Chosen(id); });
}

void PageMenu::Remove(const QString& path) {
    for (const int id : m_paths.keys(path)) {
        RemoveEntry(id);
    }
}

void PageMenu::RemoveEntry(int id) {
    m_paths.remove(id);
    for (QAction* entry : m_menu->actions()) {
        if (entry->data().toInt() == id) {
            m_menu->removeAction(entry);
            entry->deleteLater();  // it may be the one that was chosen
        }
    }
}
