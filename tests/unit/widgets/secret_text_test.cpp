// What is left of a password.
#include "widgets/secret_text.h"

#include <gtest/gtest.h>

namespace {

TEST(SecretText, IsOverwrittenForAllWhoShareIt) {
    QString typed = QString::fromLatin1("geheim");
    const QString line = typed;  // as the line edit has it
    ASSERT_EQ(line.constData(), typed.constData());
    WipeSecret(typed);
    EXPECT_TRUE(typed.isEmpty());
    EXPECT_EQ(line, QString(6, QChar(0)));
}

TEST(SecretText, BytesToo) {
    QByteArray typed("geheim\xC3\xAFm");
    const QByteArray shared = typed;
    WipeSecret(typed);
    EXPECT_TRUE(typed.isEmpty());
    EXPECT_EQ(shared, QByteArray(9, '\0'));
}

TEST(SecretText, ALiteralAndNothingAreLeftAlone) {
    QString literal = QStringLiteral("word");
    QString nothing;
    WipeSecret(literal);
    WipeSecret(nothing);
    EXPECT_TRUE(literal.isEmpty());
    EXPECT_EQ(QStringLiteral("word").at(0), u'w');
}

}  // namespace
