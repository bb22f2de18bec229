#include "language/ChipCompiler.h"
#include "language/LanguageTesting.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QtTest>

using namespace Qt::Literals::StringLiterals;
using namespace pivex;

namespace {

constexpr int pins = 14;

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
        QStringList cells = line.split(u'|').mid(1);
        for (QString& cell : cells) {
            cell = cell.trimmed();
        }
        if (isInside && !cells.isEmpty() && !cells[0].startsWith(u"---")) {
            rows << cells;
        }
        isInside = !cells.isEmpty() && (isInside || cells[0] == heading);
    }
    return rows;
}

/// What stands in `text` between the pairs of marks that `pattern` captures between.
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

/// What each row of the table under `heading` has in its column `index`, without back ticks.
QStringList columnUnder(const QString& heading, int index = 0) {
    QStringList column;
    for (const QStringList& cells : rowsUnder(heading)) {
        column << QString(cells.value(index)).remove(u'`');
    }
    return column;
}

/// The operands of `definition` as the reference writes them.
QStringList kindsOf(const Definition& definition) {
    static const QStringList names = columnUnder(u"Kind"_s);
    QStringList kinds;
    for (const Arg kind : definition.args) {
        kinds << names.value(static_cast<int>(kind));
    }
    return kinds;
}

QString textOf(std::string_view name) {
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

QString lineOf(std::string_view name) {
    QString line = textOf(name);
    for (const Arg kind : definitionNamed(name)->args) {
        line += kind == Arg::functionName ? u" F"_s : u" 0"_s;
    }
    return line;
}

/// A program around one line: the other end of its block, the function that it calls.
QString programAround(const QString& line) {
    const std::string name = line.section(u' ', 0, 0).toStdString();
    const Definition& instruction = *definitionNamed(name);
    if (const BlockPair* block = blockOpenedBy(instruction)) {
        return line + u'\n' + lineOf(block->closer);
    }
    if (const BlockPair* block = blockClosedBy(instruction)) {
        return lineOf(block->opener) + u'\n' + line;
    }
    return name == "CALL" ? line + u"\nFUNC"_s + line.mid(4) + u"\nENDFUNC"_s : line;
}

/// What the compiler says and then what the checker says, without the argument's place.
QStringList messagesFor(const QString& code, int pinCount = pins) {
    const ChipDocument chip = chipOf(code.toUtf8(), pinCount);
    QStringList messages{QString::fromStdString(compileChip(chip).errorMessage)};
    for (const CodeDiagnostic& each : validateChip(chip)) {
        static const QRegularExpression place(u"^Argument [123]: "_s);
        messages << QString::fromStdString(each.message).remove(place);
    }
    return messages;
}

const QStringList clean{QString()};

} // namespace

/// The language reference and the language say the same.
class LanguageReferenceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void listsEveryInstruction_data() {
        QTest::addColumn<QStringList>("cells");
        for (const QStringList& cells : rowsUnder(u"Opcode"_s)) {
            QTest::addRow("%s", cells[0].toUtf8().constData()) << cells;
        }
    }

    void listsEveryInstruction() {
        QFETCH(const QStringList, cells);
        const QString name = codeIn(cells[0]).value(0);
        const Definition* definition = definitionNamed(name.toStdString());
        QVERIFY(definition != nullptr);
        const QString hex =
            QString::number(definition->opcode, 16).toUpper().rightJustified(2, u'0');
        QCOMPARE(cells[1], u"%1 (0x%2)"_s.arg(definition->opcode).arg(hex));
        QCOMPARE(codeIn(cells[2]), kindsOf(*definition));
        const QString example = codeIn(cells[4]).value(0);
        QCOMPARE(example.section(u' ', 0, 0), name);
        QCOMPARE(messagesFor(programAround(example), 40), clean);
    }

    void listsEveryName() {
        QStringList names = columnUnder(u"Opcode"_s);
        names.sort();
        QStringList known;
        for (const Definition& definition : definitions) {
            known << textOf(definition.name);
        }
        QCOMPARE(names, known);
        QCOMPARE(columnUnder(u"Kind"_s).join(u' '),
                 u"value condition registerSlot pin addressGroup addressIndex pinList "
                 "sideBitfield functionName"_s);
        QStringList conditions;
        while (!conditionToken(static_cast<std::uint32_t>(conditions.size())).empty()) {
            conditions << textOf(conditionToken(static_cast<std::uint32_t>(conditions.size())));
        }
        QCOMPARE(columnUnder(u"Code"_s, 1), conditions);
        QStringList openers;
        QStringList closers;
        for (const BlockPair& block : blockPairs) {
            openers << textOf(block.opener);
            closers << textOf(block.closer);
        }
        QCOMPARE(columnUnder(u"Opener"_s), openers);
        QCOMPARE(columnUnder(u"Opener"_s, 1), closers);
    }

    void showsNumbers() {
        const QList<QStringList> forms = rowsUnder(u"Form"_s);
        QCOMPARE(forms.size(), 6);
        for (const QStringList& cells : forms) {
            const QByteArray word = codeIn(cells[1]).value(0).toUtf8();
            const Bytes code = compileChip(chipOf("DELMS " + word)).bytes;
            QVERIFY2(!code.empty() && u32At(code, 4) == cells[2].toUInt(), word.constData());
        }
        const QString refused = captured(u"negative numbers\\. (.+?) are refused"_s, reference)[0];
        for (const QString& word : codeIn(refused)) {
            QVERIFY2(messagesFor(u"DELMS "_s + word)[0].startsWith(u"Invalid value"),
                     qPrintable(word));
        }
    }

    void showsProgramsThatCompile() {
        const QStringList programs = captured(u"```chip\n(.*?)```"_s, reference);
        QVERIFY(programs.size() >= 5);
        for (const QString& program : programs) {
            QCOMPARE(messagesFor(program), clean);
        }
    }

    void bringsEveryMessage_data() {
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("code");
        for (const QStringList& cells : rowsUnder(u"Message"_s)) {
            const QString message = codeIn(cells[0]).value(0);
            QTest::addRow("%s", qPrintable(message)) << message << codeIn(cells[2]).join(u'\n');
        }
    }

    void bringsEveryMessage() {
        QFETCH(const QString, message);
        QFETCH(const QString, code);
        const QStringList messages = messagesFor(code, code.isEmpty() ? 0 : pins);
        QVERIFY2(messages.contains(message), qPrintable(messages.join(u'\n')));
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
