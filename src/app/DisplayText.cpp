#include "app/DisplayText.h"

#include <QTextDocument>

#include <algorithm>

namespace pivex {

namespace {

bool breaksLine(QChar character) {
    const QChar::Category category = character.category();
    return category == QChar::Other_Control || category == QChar::Separator_Line ||
           category == QChar::Separator_Paragraph;
}

} // namespace

QString oneLine(QString text) {
    std::replace_if(text.begin(), text.end(), breaksLine, QChar(QChar::ReplacementCharacter));
    return text;
}

QString plainToolTip(const QString& text) {
    return Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text;
}

} // namespace pivex
