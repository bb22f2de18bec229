#pragma once

#include "tools/ImageDocument.h"

#include <QPlainTextEdit>

#include <optional>
#include <string>
#include <string_view>

namespace pivex {

/// The read-only view of an image's text form. It always holds the whole text, but rewrites only
/// the lines that differ, so that it can follow every mouse move of a drawing.
class ImageCodeView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit ImageCodeView(QWidget* parent = nullptr);

    /// Shows `image`'s text form, or that there is no image for null. The scroll position stays.
    void showImage(const ImageDocument* image);

private:
    /// What stands in the view: the lines before the runs, and the runs.
    struct Shown {
        std::string head;
        Bytes rle;
    };

    void rewrite(const std::string& text);
    void patch(const std::string& text, const Shown& next);
    void replaceLines(int first, int count, std::string_view text);

    std::optional<Shown> shown;
};

} // namespace pivex
