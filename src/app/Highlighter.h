#pragma once

#include <QSyntaxHighlighter>

namespace pivex {

/// Colours opcodes, register references and comments while the text is typed. Attach it to an
/// empty document: on a filled one it reports a change of the text some time later.
class Highlighter : public QSyntaxHighlighter {
    Q_OBJECT

public:
    using QSyntaxHighlighter::QSyntaxHighlighter;

protected:
    /// Colours one block; block state 1 says that it ends inside a block comment.
    void highlightBlock(const QString& text) override;

private:
    void colorWords(const QString& text);
    void colorBlockComments(const QString& text);
};

} // namespace pivex
