#pragma once

#include <QMap>
#include <QObject>
#include <QStringList>

class QMenu;

/// A list of pages and the same entries at the end of a menu, each known by a number.
/// GUI thread only.
class PageMenu : public QObject {
    Q_OBJECT

public:
    /// `most` pages are kept, the newest ones.
    PageMenu(QMenu* menu, int most, QObject* parent);

    /// Adds a page as the newest. What is no path, empty or too long for one, is passed over.
    void Add(const QString& path);

    /// Takes every entry of the page away.
    void Remove(const QString& path);

    /// The pages, oldest first.
    [[nodiscard]] QStringList Pages() const { return m_paths.values(); }

    /// The path of an entry, empty for a number that is none's.
    [[nodiscard]] QString PathOf(int id) const { return m_paths.value(id); }

signals:
    /// The entry of that number was chosen in the menu.
    void Chosen(int id);

private:
    void RemoveEntry(int id);

    QMenu* m_menu;
    qsizetype m_most;
    QMap<int, QString> m_paths;  // an older entry has a lower number
    int m_nextId = 1;
};
