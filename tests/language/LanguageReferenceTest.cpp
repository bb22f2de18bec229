#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <functional>
#include <ranges>

using namespace Qt::Literals::StringLiterals;
using namespace pivex;

namespace {

QString fileText(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

const QString reference = fileText(QStringLiteral(PIVEX_SOURCE_DIR "/docs/language.md"));

/// The rows of every table of the reference whose first column is headed `heading`.
QList<QStringList> rowsUnder(const QString& heading) {
    QList<QStringList> rows;
    bool isInside = false;
    for (const QString& line : reference.split(u'\n')) {
        const QStringList cells = line.split(u'|').mid(1);
        if (isInside && !cells.isEmpty() && !cells[0].startsWith(u"---")) {
            rows << cells;
        }
        isInside = !cells.isEmpty() && (isInside || cells[0].trimmed() == heading);
    }
    return rows;
}

/// What stands in `text` where `pattern` captures.
QStringList captured(const QString& pattern, const QString& text) {
    QStringList found;
    const QRegularExpression expression(pattern, QRegularExpression::DotMatchesEverythingOption);
    for (const auto& match : expression.globalMatch(text)) {
        found << match.captured(1);
    }
    return found;
}

QStringList codeIn(const QString& text) {
    return captured(u"`([^`]+)`"_s, text);
}

/// What stands in column `index` of the table under `heading`, joined by blanks.
QString columnUnder(const QString& heading, int index = 0) {
    QStringList column;
    for (const QStringList& cells : rowsUnder(heading)) {
        column << codeIn(cells[index]).value(0);
    }
    return column.join(u' ');
}

/// The names in a table of the program, in the same way.
template<typename Rows, typename Name>
QString namesIn(const Rows& rows, Name name) {
    QStringList names;
    for (const auto& row : rows) {
        const std::string_view text = std::invoke(name, row);
        names << QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }
    return names.join(u' ');
}

/// What the compiler says and then what the checker says, without the argument's place.
QStringList messagesFor(const QString& code, int pins = 14) {
    const ChipDocument chip{"", pins, 0, 0, code.toStdString(), {}};
    QStringList messages{QString::fromStdString(compileChip(chip).errorMessage)};
    for (const CodeDiagnostic& each : validateChip(chip)) {
        static const QRegularExpression place(u"^Argument [123]: "_s);
        messages << QString::fromStdString(each.message).remove(place);
    }
    return messages;
}

} // namespace

/// The language reference and the language say the same.
class LanguageReferenceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void listsEveryInstruction() {
        const QStringList kinds = columnUnder(u"Kind"_s).split(u' ');
        QStringList listed;
        for (const QStringList& cells : rowsUnder(u"Opcode"_s)) {
            const QString name = codeIn(cells[0]).value(0);
            listed << name;
            const Definition* definition = definitionNamed(name.toStdString());
            QVERIFY2(definition != nullptr, qPrintable(name));
            QString number = QString::number(definition->opcode, 16).toUpper();
            number = u"%1 (0x%2)"_s.arg(definition->opcode).arg(number.rightJustified(2, u'0'));
            QCOMPARE(name + cells[1].trimmed(), name + number);
            QStringList operands;
            for (const Arg kind : definition->args) {
                operands << kinds.value(static_cast<int>(kind));
            }
            QCOMPARE(codeIn(cells[2]), operands);
            const QString example = codeIn(cells[4]).value(0);
            QCOMPARE(example.section(u' ', 0, 0), name);
            // Alone, an example may at most lack the other end of its block or its function.
            static const QRegularExpression half(u"^Un(closed|matched|defined) "_s);
            const QStringList findings = messagesFor(example, 40).mid(1);
            QVERIFY2(findings.filter(half).size() == findings.size(), qPrintable(example));
        }
        listed.sort();
        QCOMPARE(listed.join(u' '), namesIn(definitions, &Definition::name));
    }

    void listsEveryName() {
        QCOMPARE(columnUnder(u"Kind"_s),
                 u"value condition registerSlot pin addressGroup addressIndex pinList "
                 "sideBitfield functionName"_s);
        QCOMPARE(columnUnder(u"Code"_s, 1), namesIn(std::views::iota(0U, 7U), conditionToken));
        QVERIFY(conditionToken(7).empty());
        QCOMPARE(columnUnder(u"Opener"_s), namesIn(blockPairs, &BlockPair::opener));
        QCOMPARE(columnUnder(u"Opener"_s, 1), namesIn(blockPairs, &BlockPair::closer));
    }

    void showsNumbersAndPrograms() {
        for (const QStringList& cells : rowsUnder(u"Form"_s)) {
            const std::string line = "DELMS " + codeIn(cells[1])[0].toStdString();
            const Bytes code = compileChip({"", 14, 0, 0, line, {}}).bytes;
            QVERIFY2(!code.empty() && u32At(code, 4) == cells[2].toUInt(), line.c_str());
        }
        const QStringList programs = captured(u"```chip\n(.*?)```"_s, reference);
        QVERIFY(programs.size() >= 5);
        for (const QString& program : programs) {
            QCOMPARE(messagesFor(program), QStringList(QString()));
        }
    }

    void bringsEveryMessage() {
        for (const QStringList& cells : rowsUnder(u"Message"_s)) {
            const QString message = codeIn(cells[0]).value(0);
            const QString code = codeIn(cells[2]).join(u'\n');
            QVERIFY2(messagesFor(code, code.isEmpty() ? 0 : 14).contains(message),
                     qPrintable(message));
        }
    }

    /// Every text with a blank in the language's sources is a message or a part of one.
    void explainsEveryMessageOfTheSources() {
        const QDir folder(QStringLiteral(PIVEX_SOURCE_DIR "/src/language"));
        int count = 0;
        for (const QString& name : folder.entryList({u"*.cpp"_s})) {
            static const QRegularExpression comment(u"//[^\n]*"_s);
            const QString source = fileText(folder.filePath(name)).remove(comment);
            for (const QString& text : captured(u"\"([^\"\n]*)\""_s, source)) {
                count += text.contains(u' ') ? 1 : 0;
                QVERIFY2(!text.contains(u' ') || reference.contains(text), qPrintable(text));
            }
        }
        QVERIFY(count > 25);
    }
};

QTEST_APPLESS_MAIN(LanguageReferenceTest)

#include "LanguageReferenceTest.moc"
