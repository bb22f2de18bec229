#pragma once

#include <QList>
#include <QPlainTextEdit>
#include <QString>
#include <QTextLayout>

namespace pivex {

/// A read-only, unwrapped view in the fixed-pitch system font of a text that grows to megabytes
/// and changes by a few characters at a time.
class TextPane : public QPlainTextEdit {
public:
    explicit TextPane(QWidget* parent = nullptr);

    /// Shows another text from its top.
    void replaceText(const QString& text);

    /// Shows the text's next state by writing only the range that differs. The scroll position
    /// stays.
    void amendText(const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    /// What of `block` is selected, if anything, and how that looks.
    QList<QTextLayout::FormatRange> selectionsIn(const QTextBlock& block) const;

    /// Paints what `part` of the view shows of a long line. The toolkit would paint all of it.
    void paintPart(QPainter& painter, const QTextBlock& block, QPointF place,
                   const QRect& part) const;

    QString shown; ///< equal to the document, which is slow to ask for its text
    bool hasLongLines = false;
};

} // namespace pivex
