#pragma once

#include "model/AppModel.h"
#include "views/compose/ComposeEditorController.h"
#include "views/compose/ContactsService.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <optional>

class QComboBox;
class QLineEdit;

namespace Larkhaven {

class AddressField;
class AttachmentStrip;
class ComposeEditor;
class ComposeNotices;
class ComposeRow;
class FormatBar;
class LineGate;

/// The fields of a message that is being written, from the sending account down to its files, in the order in
/// which the keyboard goes through them. It holds what the user sees of a draft, and nothing else of it.
class ComposeForm : public QWidget {
    Q_OBJECT

public:
    enum class Field { to, cc, bcc, subject };

    /// A part of the window, and what gives it the keyboard.
    struct FocusPart {
        QWidget* part;
        std::function<void()> takeFocus;
    };

    /// `draft` fills the fields.
    ComposeForm(const ComposeDraft& draft, UserDefaults& defaults, ContactsService& contacts,
                QWidget* parent = nullptr);

    /// The draft with what the fields hold, its text apart.
    ComposeDraft fields(ComposeDraft draft) const;
    /// The draft with its text.
    ComposeDraft text(ComposeDraft draft) const;
    QString subject() const;
    ComposeEditorController& editor() { return m_editor; }
    const ComposeEditorController& editor() const { return m_editor; }
    AttachmentStrip& attachments() const { return *m_attachments; }
    /// The field that has the keyboard; absent where it is elsewhere.
    const std::optional<Field>& focus() const { return m_focus; }
    bool showsBcc() const { return m_showsBcc; }

    /// The accounts that may send, and the one that does. They are shown where there is a choice, or with
    /// `isShown`.
    void setAccounts(const QList<Account>& accounts, const QUuid& current, bool isShown);
    /// A field that holds recipients stays.
    void setShowsBcc(bool isShown);
    void setRichText(bool richText);
    /// The keyboard goes to the first field that is still empty.
    void setInitialFocus();
    /// The parts between which F6 moves, in its order: fields, text, format bar, files. Those that aren't
    /// shown are left out.
    QList<FocusPart> focusParts() const;

Q_SIGNALS:
    /// Something that belongs to the draft is another than before.
    void changed();
    void subjectChanged();
    void accountChosen(const QUuid& accountID);
    void showsBccChanged();
    void richTextChanged();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void layOut(QWidget* subjectRow);
    void connectFields();
    bool isStepToText(const QEvent& event) const;
    void followRichText();
    void followLanguages();

    ComposeEditorController m_editor;
    std::optional<Field> m_focus;
    bool m_showsBcc = false;
    QWidget* m_fields;             ///< the rows down to the subject
    QPointer<QWidget> m_lastField; ///< that had the keyboard
    QComboBox* m_accounts;
    ComposeRow* m_from;
    AddressField* m_to;
    AddressField* m_cc;
    AddressField* m_bcc;
    QLineEdit* m_subject;
    LineGate* m_subjectGate;
    ComposeNotices* m_notices; ///< what was left out of the draft
    FormatBar* m_formatBar = nullptr;
    ComposeEditor* m_text = nullptr;
    AttachmentStrip* m_attachments;
    /// Goes first: what follows the keyboard looks at the members above, and a window that ends loses it.
    QObject m_focusWatch;
};

} // namespace Larkhaven
