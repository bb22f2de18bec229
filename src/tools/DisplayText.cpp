#include "tools/DisplayText.h"

#include <QTextDocument>

#include <algorithm>

namespace pivex {

namespace {

/// Whether `character` ends the line or turns round what stands beside it, up to the end of the
/// line and beyond the text that it comes in.
bool breaksOut(QChar character) {
    const QChar::Category category = character.category();
    const char16_t code = character.unicode();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph || (code >= u'\u202A' && code <= u'\u202E') ||
           (code >= u'\u2066' && code <= u'\u2069');
}

} // namespace

QString oneLine(QString text) {
    std::replace_if(text.begin(), text.end(), breaksOut, QChar(QChar::ReplacementCharacter));
    return text;
}

QString shortened(const QString& text) {
    constexpr qsizetype longest = 2000;
    if (text.size() <= longest) {
        return text;
    }
    QStringList lines = text.split(u'\n');
    for (QString& line : lines) {
        if (line.size() > longest) {
            line = line.first(longest) + u'…';
        }
    }
    return lines.join(u'\n');
}

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

} // namespace pivex
