#include "app/ChipWindow.h"
#include "app/CodeEditor.h"
#include "language/ChipCompiler.h"

#include <QAction>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>

#include <cstdio>
#include <stdexcept>

namespace pivex {

using namespace Qt::Literals::StringLiterals;

namespace {

void expect(bool holds, const char* sentence) {
    if (!holds) {
        throw std::runtime_error(sentence);
    }
}

} // namespace

void ChipWindow::checkFileRound() {
    const QTemporaryDir folder;
    expect(!dirty, "a new document counts as edited");
    fields.name->setText(u"Self-check"_s);
    fields.strings.back()->setText(u"kept"_s);
    fields.code->setPlainText(u"GOSTRT\nSETPIN 1 1\nENDTEST\n"_s);
    expect(dirty && windowTitle().endsWith(u" *"_s), "an edit does not mark the document");
    const ChipDocument edited = document();
    const QString path = folder.filePath(u"self-check.chip"_s);
    write(path, edited);
    populate(newDocument(), {});
    expect(document() == newDocument(), "a new document is not empty");
    populate(read(path), path);
    expect(!dirty, "a loaded document counts as edited");
    expect(document().name == edited.name && document().strings == edited.strings,
           "the saved name or strings did not come back");
    expect(compileChip(document()).bytes == compileChip(edited).bytes,
           "the saved program compiles differently");
}

void ChipWindow::checkCodeActions() {
    compile();
    expect(output->toPlainText() ==
               u"Compile successful: 3 instructions, 48 bytes. Nothing sent to PCB."_s,
           "a sound program does not compile");
    fields.code->setPlainText(u"GOSTRT\nSETIN 99\n"_s);
    scan();
    expect(output->toPlainText().startsWith(u"Line 2: "_s), "the scan misses a wrong pin");
}

void ChipWindow::checkBoardStates() {
    linked = true;
    const auto tell = [this](SerialEvent::Kind kind, const char* text) {
        connection.emit(kind, text);
        serialEvents();
    };
    tell(SerialEvent::Kind::Connected, "Self-check board");
    tell(SerialEvent::Kind::ChipListStarted, "");
    tell(SerialEvent::Kind::ChipListed, "Counter");
    expect(!uploads.send->isEnabled(), "sending is offered while the board is busy");
    tell(SerialEvent::Kind::ChipListDone, "");
    expect(uploads.send->isEnabled(), "sending is not offered while the board is idle");
    expect(!stored.load->isEnabled(), "loading is offered without a selection");
    stored.list->setCurrentRow(0);
    expect(stored.load->isEnabled() && stored.list->currentItem()->text() == u"001  Counter"_s,
           "the stored test is not listed");
    tell(SerialEvent::Kind::Failed, "");
    expect(!linked && !uploads.send->isEnabled() && stored.list->count() == 0,
           "a failure leaves the board in place");
}

bool ChipWindow::smoke() {
    try {
        checkFileRound();
        checkCodeActions();
        checkBoardStates();
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "Main window self-check: %s\n", failure.what());
        return false;
    }
    return true;
}

} // namespace pivex
