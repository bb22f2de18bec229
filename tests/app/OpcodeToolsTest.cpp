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

} // namespace

class OpcodeToolsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:

    void offersExactlyTheInstructions() {
        std::set<std::string_view> names;
        ChipDocument chip;
        for (const OpcodeTool& tool : opcodeTools) {
            std::vector<Arg> kinds;
            std::vector<std::string> texts;
            for (const ToolArg& arg : tool.args) {
                kinds.push_back(compiledAs[int(arg.kind)]);
                // Only pins have to be chosen before the defaults compile.
                texts.emplace_back(arg.kind == ToolArgKind::pin ? "1" : arg.defaultText);
            }
            QVERIFY(std::ranges::equal(kinds, definitionNamed(tool.opcode)->args));
            chip.code += toolInstruction(tool, texts) + '\n';
            names.insert(tool.opcode);
        }
        QCOMPARE(compileChip(chip).errorMessage, std::string());
        QCOMPARE(names.size(), definitions.size());
        QCOMPARE(opcodeTools.size(), definitions.size());
    }

    void takesOneTokenForEachArgument() {
        const OpcodeTool& tool = *std::ranges::find(opcodeTools, "SETPIN", &OpcodeTool::opcode);
        using Texts = std::vector<std::string>;
        for (const Texts& texts :
             {Texts{"1"}, {"1", "2", ""}, {"", "0"}, {"0", "\rb"}, {"0", "c\n"}}) {
            const QByteArray failure = thrownText([&] { toolInstruction(tool, texts); });
            QCOMPARE(failure, texts.size() == 2 ? "Each argument must be one nonempty token."
                                                : "Argument count does not match selected opcode.");
        }
    }
};

QTEST_APPLESS_MAIN(OpcodeToolsTest)
#include "OpcodeToolsTest.moc"
