#include "tools/NewFontDialog.h"

#include "tools/MessageBoxes.h"
#include "tools/WidgetParts.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QSpinBox>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

namespace {

/// One number of the form.
struct Dimension {
    const char* label;
    const char* objectName;
    int largest;
    int initial;
};

constexpr Dimension widthRow{"Width", "widthBox", 32, 8};
constexpr Dimension heightRow{"Height", "heightBox", 8, 8};
constexpr Dimension glyphsRow{"Glyphs", "glyphsBox", 224, printableGlyphs};

class NewFontDialog : public QDialog {
public:
    explicit NewFontDialog(QWidget* parent);

    FontDocument font() const;

    void accept() override;

private:
    QSpinBox* addRow(const Dimension& dimension);
    QString name() const;

    QFormLayout* form = new QFormLayout(this);
    QLineEdit* nameEdit = new QLineEdit(u"New Font"_s, this);
    QSpinBox* width = nullptr;
    QSpinBox* height = nullptr;
    QSpinBox* glyphs = nullptr;
};

NewFontDialog::NewFontDialog(QWidget* parent) : QDialog(parent) {
    setWindowTitle(u"New Font"_s);
    nameEdit->setObjectName(u"nameEdit"_s);
    form->addRow(u"Name"_s, nameEdit);
    width = addRow(widthRow);
    height = addRow(heightRow);
    glyphs = addRow(glyphsRow);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &NewFontDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &NewFontDialog::reject);
    form->addRow(buttons);
}

QSpinBox* NewFontDialog::addRow(const Dimension& dimension) {
    auto* box = new QSpinBox(this);
    box->setObjectName(QString::fromLatin1(dimension.objectName));
    box->setRange(1, dimension.largest);
    box->setValue(dimension.initial);
    guardFromWheel(box);
    form->addRow(QString::fromLatin1(dimension.label), box);
    return box;
}

/// The name as the field shows it: pasted line breaks and other control characters, which no line
/// of a font file can hold, are blanks there.
QString NewFontDialog::name() const {
    QString text = nameEdit->text();
    std::ranges::replace_if(
        text, [](QChar c) { return c < u' '; }, u' ');
    return text.trimmed();
}

FontDocument NewFontDialog::font() const {
    return {.name = name().toStdString(),
            .width = width->value(),
            .height = height->value(),
            .columns = Bytes(static_cast<std::size_t>(width->value() * glyphs->value()))};
}

void NewFontDialog::accept() {
    if (name().isEmpty()) {
        warn(this, windowTitle(), u"Enter a font name."_s);
        nameEdit->setFocus();
        return;
    }
    QDialog::accept();
}

} // namespace

std::optional<FontDocument> askForNewFont(QWidget* parent) {
    NewFontDialog dialog(parent);
    if (dialog.exec() != QDialog::Accepted) {
        return {};
    }
    return dialog.font();
}

} // namespace pivex
