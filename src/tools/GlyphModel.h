#pragma once

#include "tools/FontDocument.h"

#include <QAbstractListModel>
#include <QString>

namespace pivex {

/// What stands for glyph `glyph` on the screen: "SP" for the space, the character of glyphs 1 to
/// 94, the number of those that have no character.
QString glyphCaption(int glyph);

/// The glyphs of a font as a list, one row per glyph.
class GlyphModel : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    /// Resets the model to `count` rows.
    void setGlyphCount(int count);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    int glyphs = printableGlyphs;
};

} // namespace pivex
