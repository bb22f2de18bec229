#include "tools/GlyphModel.h"

#include <QSize>

namespace pivex {

namespace {

constexpr QSize glyphItemSize(41, 37);

} // namespace

QString glyphCaption(int glyph) {
    if (glyph == 0) {
        return QStringLiteral("SP");
    }
    if (glyph < printableGlyphs) {
        return QString(QChar(glyph + firstGlyphCode));
    }
    return QString::number(glyph);
}

void GlyphModel::setGlyphCount(int count) {
    beginResetModel();
    glyphs = count;
    endResetModel();
}

int GlyphModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : glyphs;
}

QVariant GlyphModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    switch (role) {
    case Qt::DisplayRole:
        return glyphCaption(index.row());
    case Qt::TextAlignmentRole:
        return Qt::AlignCenter;
    case Qt::SizeHintRole:
        return glyphItemSize;
    default:
        return {};
    }
}

} // namespace pivex
