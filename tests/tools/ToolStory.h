#pragma once

#include "support/WindowStory.h"

#include <QListWidget>
#include <QPlainTextEdit>

namespace pivex::testing {

/// A tool window over a board that only notes what it is asked, and whose slots are `Slots`, the
/// first being number `First`.
template<typename Slots, int First>
class ToolStory : public WindowStory {
public:
    Slots known{};
    bool ready = true;

    ToolStory() {
        verbs.merge(Verbs{
            {u"ready"_s, [this](auto&) { ready = true, push(); }},
            {u"unready"_s, [this](auto&) { ready = false, push(); }},
            {u"busy"_s, [this](auto&) { ready = false; }},
            {u"says"_s, [this](auto& words) { push(words.join(u' ')); }},
            {u"fails"_s, [this](auto& words) { push(words.join(u' '), true); }},
            {u"forget"_s, [this](auto&) { known = {}, push(); }},
            {u"slot"_s, [this](auto& words) { select(words[0].toInt(), words.mid(1)); }},
        });
    }

    /// Tells the window the state of the board.
    virtual void push(const QString& message = {}, bool unfreeze = false) = 0;

    /// Watches the document and the selected slot.
    void watchDocument() {
        views.push_back({"", [this] { return described(text()); }});
        views.push_back({"", [this] { return slotList()->currentItem()->text(); }});
    }

    /// Selects a slot, which the board now says to hold something of this name.
    void select(int slot, const QStringList& name) {
        auto& info = known.at(static_cast<std::size_t>(slot - First));
        info.read = true;
        info.name = name.join(u' ').toStdString();
        push();
        if (slotList() != nullptr) {
            slotList()->setCurrentRow(slot - First);
        }
    }

    /// Whether the focus waits for the control `name` while the board is busy: the next control
    /// would take the next press of the space bar. It does not come back to who has moved on.
    bool holdsFocus(const char* name) {
        QWidget& control = child(*root, name);
        control.setFocus();
        act(u"unready"_s);
        const bool isHeld = root->focusWidget() == root;
        act(u"ready"_s);
        const bool isBack = root->focusWidget() == &control;
        act(u"unready"_s);
        slotList()->setFocus();
        act(u"ready"_s);
        return isHeld && isBack && root->focusWidget() == slotList();
    }

    QListWidget* slotList() const { return root->findChild<QListWidget*>(u"slotList"_s); }

    int selected() const { return slotList()->currentRow() + First; }

    /// The text that shows the document.
    std::string text() const {
        return root->findChild<QPlainTextEdit*>()->toPlainText().toStdString();
    }
};

} // namespace pivex::testing
