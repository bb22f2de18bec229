#include "tools/FontSlotList.h"
#include "tools/FontWindowPrivate.h"
#include "tools/MessageBoxes.h"

#include <QLabel>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace pivex {

bool FontWindow::isAllowed(BoardAction action) const {
    const bool hasSubject =
        action == BoardAction::Save ? open.font.has_value() : !slot().name.empty();
    return ready() && slot().read && hasSubject;
}

void FontWindow::refresh() {
    if (ready() && hooks.refresh) {
        hooks.refresh();
    }
}

void FontWindow::writePCB(BoardAction action) {
    if (!hooks.write || !isAllowed(action)) {
        return;
    }
    const bool isSaving = action == BoardAction::Save;
    const int target = selectedSlot;
    const std::string name = slot().name;
    try {
        std::vector<FontPacket> packets =
            isSaving ? fontUploadPlan(*open.font, target) : fontDeletionPlan(target);
        if (!confirm(action)) {
            return;
        }
        // The board may have changed while the question was open.
        if (!isAllowed(action) || selectedSlot != target || slot().name != name) {
            return;
        }
        status->setText(isSaving ? u"Saving font to selected slot…"_s
                                 : u"Deleting font from selected slot…"_s);
        hooks.write(std::move(packets));
        controls();
    } catch (const std::runtime_error& error) {
        fail(error);
    }
}

bool FontWindow::confirm(BoardAction action) {
    const bool isSaving = action == BoardAction::Save;
    const QString question =
        u"%1 font in PCB slot %2?\n\nCurrent slot: %3\n"
        "This permanently changes PCB storage. Local font files are unchanged."_s.arg(
            isSaving ? u"Save the current"_s : u"Delete the"_s, QString::number(selectedSlot),
            fontSlotContent(slot()));
    return ask(this, QMessageBox::Warning, isSaving ? u"Save Font to Pivex"_s : u"Delete Font"_s,
               question, QMessageBox::Yes | QMessageBox::Cancel,
               QMessageBox::Cancel) == QMessageBox::Yes;
}

} // namespace pivex
