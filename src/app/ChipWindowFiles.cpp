#include "app/ChipWindow.h"
#include "app/CodeEditor.h"
#include "language/ChipCompiler.h"
#include "model/ChipFileCodec.h"
#include "tools/DisplayText.h"
#include "tools/FileAccess.h"
#include "tools/MessageBoxes.h"
#include "tools/WidgetParts.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QScopedValueRollback>
#include <QTextBlock>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace pivex {

namespace {

using namespace Qt::Literals::StringLiterals;

constexpr FileLimit chipFileLimit{maxChipFileBytes, chipFileTooLarge};

int chosen(const QComboBox* box) {
    return box->currentData().toInt();
}

bool lists(const QListWidget* list, const QString& path) {
    for (int row = 0; row < list->count(); ++row) {
        if (list->item(row)->data(Qt::UserRole).toString() == path) {
            return true;
        }
    }
    return false;
}

/// Fills `edit` so that a long text shows its beginning.
void fill(QLineEdit* edit, const std::string& text) {
    edit->setText(QString::fromStdString(text));
    edit->setCursorPosition(0);
}

/// A file name as a part of a window title, where the toolkit takes "[*]" for a mark of its own.
QString titlePart(const QString& path) {
    return path.isEmpty()
               ? QString()
               : u" — "_s + oneLine(QFileInfo(path).fileName()).replace(u"[*]"_s, u"[*][*]"_s);
}

/// A problem, named by the number of its instruction.
QString diagnosticLine(std::int32_t instruction, const std::string& message) {
    return u"Line %1: %2"_s.arg(QString::number(instruction), QString::fromStdString(message));
}

/// Whether the editor begins a new line at `character`.
bool breaksLine(QChar character) {
    return QStringView(u"\n\u2028\u2029\uFDD0\uFDD1").contains(character);
}

/// Refuses what would take the memory of the whole machine: a line of the editor weighs some 500
/// times as much as the byte that it may be in the file.
void checkLineCount(const ChipDocument& chip) {
    constexpr qsizetype mostLines = 1'000'000;
    const QString code = QString::fromStdString(chip.code);
    if (std::ranges::count_if(code, breaksLine) >= mostLines) {
        throw std::runtime_error("Chip file has more than 1000000 lines of code.");
    }
}

ChipDocument checkedChip(const std::string& text) {
    ChipDocument chip = decodeChip(text);
    checkLineCount(chip);
    return chip;
}

} // namespace

ChipDocument ChipWindow::newDocument() {
    ChipDocument fresh;
    fresh.code = "/* code starts here */\n";
    return fresh;
}

ChipDocument ChipWindow::document() const {
    ChipDocument snapshot{
        .name = fields.name->text().toStdString(),
        .pins = chosen(fields.pins),
        .type = chosen(fields.type),
        .imageIndex = chosen(fields.image),
        .code = fields.code->toPlainText().toStdString(),
        .strings = {},
    };
    std::ranges::transform(fields.strings, snapshot.strings.begin(),
                           [](const QLineEdit* edit) { return edit->text().toStdString(); });
    return snapshot;
}

void ChipWindow::populate(const ChipDocument& source, const QString& path) {
    saveAllowed = false;
    ++revision;
    {
        const QScopedValueRollback guard(loading, true);
        fill(fields.name, source.name);
        // A line separator would make two source lines of one block.
        fields.code->setPlainText(
            QString::fromStdString(source.code).replace(QChar::LineSeparator, u'\n'));
        options(fields.type, chipTypes, source.type);
        options(fields.pins, pinOptions, source.pins);
        options(fields.image, imageOptions, source.imageIndex);
        // Refilling the boxes reported passing pin counts.
        fields.code->setPinCount(source.pins);
        for (std::size_t i = 0; i < fields.strings.size(); ++i) {
            fill(fields.strings[i], source.strings[i]);
        }
    }
    filePath = path;
    dirty = false;
    output->clear();
    title();
    deviceControls();
}

void ChipWindow::options(QComboBox* box, std::span<const MetadataOption> list, std::int32_t value) {
    box->clear();
    for (const MetadataOption& option : list) {
        box->addItem(QString::fromUtf8(option.label.data(), std::ssize(option.label)),
                     option.value);
    }
    if (box->findData(value) < 0) {
        box->addItem(u"Unlisted (%1)"_s.arg(value), value);
    }
    box->setCurrentIndex(box->findData(value));
}

void ChipWindow::changed() {
    fields.code->setPinCount(chosen(fields.pins));
    if (loading) {
        return;
    }
    ++revision;
    saveAllowed = false;
    dirty = true;
    title();
    deviceControls();
}

void ChipWindow::title() {
    setWindowTitle(
        u"PivexGUI — Linux chips%1%2"_s.arg(titlePart(filePath), dirty ? u" *"_s : QString()));
}

void ChipWindow::addFiles() {
    addPaths(
        QFileDialog::getOpenFileNames(this, u"Add chip files"_s, {},
                                      u"Chip files (*.chip);;Text files (*.txt);;All files (*)"_s));
}

void ChipWindow::addPaths(const QStringList& paths) {
    for (const QString& path : paths) {
        const QFileInfo file(path);
        const QString absolute = file.absoluteFilePath();
        if (lists(files, absolute)) {
            continue;
        }
        auto* item = new QListWidgetItem(oneLine(file.fileName()), files);
        item->setData(Qt::UserRole, absolute);
        item->setToolTip(plainToolTip(absolute));
    }
    deviceControls();
}

void ChipWindow::loadCurrentFile() {
    if (const QListWidgetItem* item = files->currentItem()) {
        loadPath(item->data(Qt::UserRole).toString());
    }
}

void ChipWindow::removeCurrentFile() {
    const std::unique_ptr<QListWidgetItem> removed(files->takeItem(files->currentRow()));
    deviceControls();
}

void ChipWindow::clearFiles() {
    clearRows(files);
    deviceControls();
}

void ChipWindow::newFile() {
    if (confirmDiscard()) {
        populate(newDocument(), {});
    }
}

bool ChipWindow::loadPath(const QString& path) {
    try {
        read(path);
        if (!confirmDiscard()) {
            return false;
        }
        // Read only now: the changes may have been saved into this very file.
        populate(read(path), path);
        return true;
    } catch (const std::exception& failure) {
        error(QString::fromStdString(failure.what()));
        return false;
    }
}

bool ChipWindow::confirmDiscard() {
    if (!dirty) {
        return true;
    }
    const auto answer =
        ask(this, QMessageBox::Question, u"Unsaved chip"_s, u"Save your changes first?"_s,
            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel);
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save(false));
}

QString ChipWindow::choosePath() {
    QFileDialog dialog(this, u"Save chip"_s, filePath, u"Chip files (*.chip)"_s);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(u"chip"_s);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

bool ChipWindow::save(bool saveAs) {
    const QString path = saveAs || filePath.isEmpty() ? choosePath() : filePath;
    if (path.isEmpty()) {
        return false;
    }
    try {
        write(path, document());
    } catch (const std::exception& failure) {
        error(QString::fromStdString(failure.what()));
        return false;
    }
    filePath = path;
    dirty = false;
    title();
    return true;
}

void ChipWindow::saveFile() {
    save(false);
}

void ChipWindow::saveFileAs() {
    save(true);
}

ChipDocument ChipWindow::read(const QString& path) {
    return checkedChip(readFileBytes(path, chipFileLimit));
}

void ChipWindow::write(const QString& path, const ChipDocument& source) {
    const std::string text = encodeChip(source);
    // A text that could not be read again must not replace a file that can.
    checkedChip(text);
    writeFileAtomically(path, text, chipFileLimit);
}

void ChipWindow::compile() {
    const ChipDocument source = document();
    const CompileResult result = compileChip(source);
    if (result.errorMessage.empty()) {
        report(u"Compile successful: %1 instructions, %2 bytes. Nothing sent to PCB."_s.arg(
            QString::number(result.bytes.size() / instructionSize),
            QString::number(result.bytes.size())));
        return;
    }
    report(diagnosticLine(diagnosticInstructionLine(source.code, result.errorLine, source.pins),
                          result.errorMessage));
    gotoLine(result.errorLine);
}

void ChipWindow::scan() {
    const ChipDocument source = document();
    const auto numbers = diagnosticInstructionLines(instructionGutter(source.code, source.pins));
    QStringList lines;
    for (const CodeDiagnostic& problem : validateChip(source)) {
        lines << diagnosticLine(numbers[static_cast<std::size_t>(problem.line)], problem.message);
    }
    report(lines.isEmpty() ? u"No code errors found."_s : lines.join(u'\n'));
}

void ChipWindow::gotoLine(std::int32_t line) {
    const QTextBlock block = fields.code->document()->findBlockByNumber(std::max(line - 1, 0));
    if (block.isValid()) {
        fields.code->setTextCursor(QTextCursor(block));
        fields.code->centerCursor();
    }
}

void ChipWindow::clearOutput() {
    output->clear();
}

void ChipWindow::report(const QString& text) {
    output->setPlainText(shortened(text));
}

void ChipWindow::error(const QString& message) {
    warn(this, u"PivexGUI"_s, message);
}

void ChipWindow::closeEvent(QCloseEvent* event) {
    event->setAccepted(confirmStopUpload() && confirmDiscard() && closeToolWindows());
}

} // namespace pivex
