#include "app/OpcodeTools.h"

#include "language/ChipCompiler.h"
#include "language/InstructionSet.h"
#include "support/Thrown.h"

#include <QtTest>

#include <set>

using namespace pivex;

namespace {

/// What the compiler takes where a tool has an argument of a kind, in the order of the kinds.
constexpr Arg compiledAs[] = {Arg::value,        Arg::pin,          Arg::pinList,
                              Arg::sideBitfield, Arg::addressGroup, Arg::addressIndex,
                              Arg::registerSlot, Arg::condition,    Arg::functionName};

/// The line of SETPIN with these argument texts, or the failure.
QByteArray formed(const std::vector<std::string>& texts) {
    const OpcodeTool& tool = *std::ranges::find(opcodeTools, "SETPIN", &OpcodeTool::opcode);
    std::string line;
    const QByteArray failure = thrownText([&] { line = toolInstruction(tool, texts); });
    return failure.isEmpty() ? QByteArray::fromStdString(line) : failure;
}

} // namespace

class OpcodeToolsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void offersExactlyTheInstructions() {
        std::set<std::string_view> names;
        for (const OpcodeTool& tool : opcodeTools) {
            const Definition* definition = definitionNamed(tool.opcode);
            QVERIFY2(definition != nullptr, tool.opcode.data());
            QCOMPARE(tool.args.size(), definition->args.size());
            QVERIFY(std::ranges::equal(tool.args, definition->args, {}, [](const ToolArg& arg) {
                return compiledAs[int(arg.kind)];
            }));
            names.insert(tool.opcode);
        }
        QCOMPARE(names.size(), definitions.size());
        QCOMPARE(opcodeTools.size(), definitions.size());
    }

    void defaultsCompileOnceThePinsAreSet() {
        ChipDocument chip;
        for (const OpcodeTool& tool : opcodeTools) {
            std::vector<std::string> texts;
            for (const ToolArg& arg : tool.args) {
                texts.emplace_back(arg.kind == ToolArgKind::pin ? "1" : arg.defaultText);
            }
            chip.code += toolInstruction(tool, texts) + '\n';
        }
        const CompileResult result = compileChip(chip);
        QCOMPARE(result.errorMessage, std::string());
        QCOMPARE(result.bytes.size(), opcodeTools.size() * instructionSize);
    }

    void formsTheInstruction() {
        QCOMPARE(formed({"led", "#r5,/"}), "SETPIN led #r5,/");
        QCOMPARE(formed({"1 2"}), "Argument count does not match selected opcode.");
        QCOMPARE(formed({"1", "2", ""}), "Argument count does not match selected opcode.");
        for (const char* bad : {"", "1 2", " ", "a\t", "\rb", "c\n", "#R5//note", "/*"}) {
            QCOMPARE(formed({bad, "0"}), "Each argument must be one nonempty token.");
            QCOMPARE(formed({"0", bad}), "Each argument must be one nonempty token.");
        }
        QCOMPARE(toolInstruction(opcodeTools.front(), {}), "GOSTRT");
    }
};

QTEST_APPLESS_MAIN(OpcodeToolsTest)
#include "OpcodeToolsTest.moc"
