#pragma once

#include <QByteArray>
#include <QTest>

#include <initializer_list>
#include <utility>

/// Texts, each with the one text that must come out of it.
using TextCases = std::initializer_list<std::pair<QByteArray, QByteArray>>;

/// Makes a row of each text, named by it on one line; `expected` must come out of all of them.
inline void addTexts(const QByteArray& expected, std::initializer_list<QByteArray> texts) {
    for (QByteArray tag : texts) {
        const QByteArray text = tag;
        for (char& c : tag) {
            c = c >= ' ' && c <= '~' ? c : ';';
        }
        QTest::newRow(tag.constData()) << text << expected;
    }
}

/// Makes the columns and a row of each case.
inline void addTextCases(const TextCases& cases) {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("expected");
    for (const auto& [text, expected] : cases) {
        addTexts(expected, {text});
    }
}

/// Compares what `outcome` makes of the row's text with what must come out.
template<typename Outcome>
void checkTextCase(const Outcome& outcome) {
    QFETCH(const QByteArray, text);
    QTEST(QByteArray(outcome(text)), "expected");
}
