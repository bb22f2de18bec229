#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <array>
#include <functional>

using namespace Qt::Literals::StringLiterals;
using namespace pivex;

namespace {

const QString reference = [] {
    QFile file(QStringLiteral(PIVEX_SOURCE_DIR "/docs/language.md"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}();

/// What `pattern` captures in `text`, match by match; "^" and "$" stand for the ends of a line.
QList<QStringList> captured(const QString& pattern, const QString& text = reference) {
    QList<QStringList> found;
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    for (const auto& match : expression.globalMatch(text)) {
        found << match.capturedTexts().mid(1);
    }
    return found;
}

QString joined(const QList<QStringList>& rows, int column = 0, const QString& between = u" "_s) {
    QStringList cells;
    for (const QStringList& row : rows) {
        cells << row[column];
    }
    return cells.join(between);
}

const QString span = u"`([^`]+)`"_s;
const QString kindNames = joined(captured(u"^\\| `(\\w+)` \\| [^`|][^|]*\\|$"_s));

/// The names in a table of the program, joined by blanks.
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
        auto rows =
            captured(u"^\\| `(\\w+)` \\| (\\d+ \\(0x..\\)) \\|([^|]*)\\|[^|]*\\| `([^`]*)` \\|$"_s);
        std::ranges::sort(rows, {}, [](const QStringList& row) { return row[0]; });
        QCOMPARE(joined(rows), namesIn(definitions, &Definition::name));
        for (const QStringList& row : rows) {
            const Definition& definition = *definitionNamed(row[0].toStdString());
            const QString number = QString::number(definition.opcode, 16).toUpper();
            QCOMPARE(row[1], u"%1 (0x%2)"_s.arg(definition.opcode).arg(number, 2, u'0'));
            const QStringList names = kindNames.split(u' ');
            QStringList operands;
            std::ranges::transform(definition.args, std::back_inserter(operands),
                                   [&](Arg kind) { return names[static_cast<int>(kind)]; });
            QCOMPARE(joined(captured(span, row[2])), operands.join(u' '));
            QCOMPARE(row[3].section(u' ', 0, 0), row[0]);
            // Alone, an example may at most lack the other end of its block or its function.
            static const QRegularExpression half(u"^Un(closed|matched|defined) "_s);
            const QStringList findings = messagesFor(row[3], 40).mid(1);
            QVERIFY2(findings.filter(half).size() == findings.size(), qPrintable(row[3]));
        }
    }

    void listsEveryName() {
        QCOMPARE(kindNames, u"value condition registerSlot pin addressGroup addressIndex pinList "
                            "sideBitfield functionName"_s);
        QCOMPARE(joined(captured(u"^\\| \\d \\| `(\\w+)` \\|"_s)),
                 namesIn(std::array{0U, 1U, 2U, 3U, 4U, 5U, 6U}, conditionToken));
        QVERIFY(conditionToken(7).empty());
        const auto blocks = captured(u"^\\| `(\\w+)` \\| `(\\w+)` \\|$"_s);
        QCOMPARE(joined(blocks), namesIn(blockPairs, &BlockPair::opener));
        QCOMPARE(joined(blocks, 1), namesIn(blockPairs, &BlockPair::closer));
    }

    void showsNumbersAndPrograms() {
        for (const QStringList& row : captured(u"^\\|[^|]+\\| `([^`]+)` \\| (\\d+) \\|$"_s)) {
            const std::string line = "DELMS " + row[0].toStdString();
            const Bytes bytes = compileChip({"", 14, 0, 0, line, {}}).bytes;
            QVERIFY2(!bytes.empty() && u32At(bytes, 4) == row[1].toUInt(), line.c_str());
        }
        const auto programs = captured(u"```chip\n([^`]*)```"_s);
        QVERIFY(programs.size() >= 5);
        for (const QStringList& program : programs) {
            QCOMPARE(messagesFor(program[0]), QStringList(QString()));
        }
    }

    void bringsEveryMessage() {
        const auto rows = captured(u"^\\| `([^|]+)` \\| [^|]+ \\|([^|]*)\\|$"_s);
        QVERIFY(rows.size() >= 26);
        for (const QStringList& row : rows) {
            const QString text = joined(captured(span, row[1]), 0, u"\n"_s);
            QVERIFY2(messagesFor(text, text.isEmpty() ? 0 : 14).contains(row[0]),
                     qPrintable(row[0]));
        }
    }
};

QTEST_APPLESS_MAIN(LanguageReferenceTest)

#include "LanguageReferenceTest.moc"
