#include "help/manual.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "common/paths.h"

namespace {

// The program's directory is ASCII.
QString InManual(const QString& name) {
    return QFileInfo(QString::fromStdString(common::InProgramDirectory("")) + name)
        .absoluteFilePath();
}

}  // namespace

QString ManualHome() {
    return InManual(QStringLiteral("doc/html/home.htm"));
}

QString ManualPage(const QString& name) {
    //: The folder of the manual in this language, as "doc/html/de/".
    const QString folder = QCoreApplication::translate("Manual", "doc/html/");
    for (const QString& path : {InManual(folder + name), InManual("doc/html/" + name)}) {
        if (QFileInfo(path).isFile()) {
            return path;
        }
    }
    return ManualHome();
}
