#pragma once

#include <QSyntaxHighlighter>

namespace pivex {

/// Colours opcodes, register references and comments while the text is typed.
class Highlighter : public QSyntaxHighlighter {
    Q_OBJECT

public:
    using QSyntaxHighlighter::QSyntaxHighlighter;

protected:
    void highlightBlock(const QString& text) override;
};

} // namespace pivex
