#pragma once

#include <QByteArray>
#include <QTest>

#include <initializer_list>
#include <utility>

/// Texts, each with the one text that must come out of it.
using TextCases = std::initializer_list<std::pair<QByteArray, QByteArray>>;

/// Makes a row of each case, named by its text on one line.
inline void addTextCases(const TextCases& cases) {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("expected");
    for (const auto& [text, expected] : cases) {
        QByteArray tag = text;
        for (char& c : tag) {
            c = c >= ' ' && c <= '~' ? c : ';';
        }
        QTest::newRow(tag.constData()) << text << expected;
    }
}

/// Compares what `outcome` makes of the row's text with what must come out.
template<typename Outcome>
void checkTextCase(const Outcome& outcome) {
    QFETCH(const QByteArray, text);
    QTEST(QByteArray(outcome(text)), "expected");
}
