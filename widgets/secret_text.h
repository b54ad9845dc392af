#pragma once

#include <QByteArray>
#include <QString>

/// Overwrites the characters where they lie, for every copy that still shares them, and empties the
/// text. A password must not stay behind in memory that was given back.
void WipeSecret(QString& text);
void WipeSecret(QByteArray& bytes);
