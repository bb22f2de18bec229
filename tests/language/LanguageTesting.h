#pragma once

#include "language/InstructionSet.h"
#include "model/ChipDocument.h"

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// The smallest document around a program.
inline pivex::ChipDocument chipOf(const QByteArray& code, std::int32_t pins = 14) {
    return {.name = "T", .pins = pins, .code = code.toStdString(), .strings = {}};
}

/// Writes random programs that compile for 14 pins, with everything a user may put in: nested
/// blocks, functions called before and after they stand, DIMs, comments, blank lines, either case.
class ProgramGenerator {
public:
    explicit ProgramGenerator(std::uint32_t seed, bool useRawWords = false)
        : random(seed), hasRawWords(useRawWords) {}

    std::uint32_t below(std::size_t limit) {
        return static_cast<std::uint32_t>(random() % static_cast<std::uint32_t>(limit));
    }

    QByteArray program() {
        functionCount = 1 + below(3);
        text = "dim A 0x1F\nDIM _B A // known\nDIM R #r7\n";
        body(0);
        for (std::uint32_t function = 0; function < functionCount; ++function) {
            text += "FUNC F'" + std::to_string(function) + "\n";
            body(1);
            text += "ENDFUNC\n";
        }
        text += "ENDTEST";
        return QByteArray::fromStdString(text);
    }

    template<typename List>
    auto oneOf(const List& list) {
        return list[below(list.size())];
    }

private:
    using Texts = std::vector<std::string>;

    void body(int depth) {
        for (std::uint32_t count = below(8); count > 0; --count) {
            const pivex::BlockPair block = oneOf(pivex::blockPairs);
            if (depth < 4 && below(3) == 0 && block.opener != "FUNC") {
                instruction(*pivex::definitionNamed(block.opener));
                body(depth + 1);
                instruction(*pivex::definitionNamed(block.closer));
            } else if (hasRawWords && below(8) == 0) {
                text += "~0x" + oneOf(Texts{"01 5 #R5", "fF", "10 0B1 A 7"});
            } else {
                plain(oneOf(pivex::definitions));
            }
            text += oneOf(Texts{"\n", "\r\n", " // x\n", " /* x\n*/ \r", "\n\n"});
        }
    }

    void plain(const pivex::Definition& chosen) {
        if (chosen.name == "CALL") {
            text += "call f'" + std::to_string(below(functionCount));
        } else if (pivex::blockOpenedBy(chosen) == nullptr &&
                   pivex::blockClosedBy(chosen) == nullptr) {
            instruction(chosen);
        }
    }

    void instruction(const pivex::Definition& definition) {
        text += definition.name;
        const bool isForBoard = definition.name.starts_with("BRD_");
        for (const pivex::Arg kind : definition.args) {
            text += "\t " + (isForBoard ? std::to_string(below(32)) : argument(kind));
        }
        text += '\n';
    }

    std::string argument(pivex::Arg kind) {
        switch (kind) {
        case pivex::Arg::condition:
            return oneOf(Texts{"eq", "NE", "LT", "GT", "LE", "ge", "DIV2", "6", "7", "#R1", "_B"});
        case pivex::Arg::value:
            return oneOf(Texts{"#R0", "#r31", "A", "r", "0x80000005", "0x80000020", "4294967295",
                               "0b101", "+7", std::to_string(random())});
        case pivex::Arg::addressGroup:
            return oneOf(Texts{"0", "8", "0x10", "24"});
        case pivex::Arg::pin:
            return std::to_string(1 + below(14));
        case pivex::Arg::pinList:
        case pivex::Arg::sideBitfield:
            return std::to_string(random());
        default:
            return oneOf(Texts{"a", "0", "31", "0b11"});
        }
    }

    std::mt19937 random;
    bool hasRawWords;
    std::uint32_t functionCount = 0;
    std::string text;
};

/// Spoils one word or line of a program; the outcome may compile or not.
inline QByteArray spoiled(const QByteArray& program, ProgramGenerator& generator) {
    static const std::vector<QByteArray> oddWords{
        "",         "#R3",  "#R32",     "15",        "0",           "A A",   "DIM",
        "ENDIF",    "FUNC", "/*",       "LOOP 1\n",  "CALL",        "~0x10", "~0xg",
        "-1",       "\n",   "FUNC F'1", "0x140",     "/",           "IF",    "DIM Q",
        "\xC3\xA9", "EQ",   "0x10000",  "FUNC \xC3", "1\n\nENDLOOP"};
    QList<QByteArray> words = program.split(' ');
    const int at = static_cast<int>(generator.below(static_cast<std::size_t>(words.size())));
    words[at] = generator.oneOf(oddWords);
    return words.join(' ');
}
