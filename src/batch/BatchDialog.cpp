#include "BatchDialog.h"

#include "BatchPreviewDialog.h"
#include "BatchTexts.h"
#include "entry/Arithmetic.h"
#include "entry/Session.h"
#include "list/ReferenceDialog.h"
#include "suite/Prompter.h"
#include "suite/qt/RunProgressDialog.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QVBoxLayout>
#include <QWidgetAction>

namespace bom::batch {
namespace {

const QStringList kReferenced{"cpscode", "csocode", "cwhcode", "cpersonname", "cdepcode"};

std::optional<Operation> operationOf(const QString& key) {
    const QString k = key.toLower();
    if (k == QLatin1String("batchadd"))
        return Operation::Add;
    if (k == QLatin1String("batchedit"))
        return Operation::Modify;
    if (k == QLatin1String("batchrepl"))
        return Operation::Replace;
    if (k == QLatin1String("batchdel"))
        return Operation::Delete;
    return std::nullopt;
}

// The editors each operation offers, in the form's order; free items and user-defined fields
// follow from the account.
QStringList editorsOf(Operation operation) {
    switch (operation) {
    case Operation::Add:
        return {"cpscode",         "csocode",       "cwhcode",      "cpersonname",   "cdepcode",
                "ipsquantity",     "tdqtyd",        "iwasterate",   "fbzdj",         "fbzwlcb",
                "wiptype",         "replaceflag",   "cinsertfirst", "cinsertsecond", "cinsertthird",
                "ccaacomunitcode", "iprodchangrate"};
    case Operation::Modify:
        return {"cwhcode",      "cpersonname",   "cdepcode",     "ipsquantity",   "tdqtyd",
                "iwasterate",   "fbzdj",         "fbzwlcb",      "wiptype",       "replaceflag",
                "cinsertfirst", "cinsertsecond", "cinsertthird", "iprodchangrate"};
    case Operation::Replace:
        return {"cpscode",       "csocode",      "cwhcode",          "cpersonname",
                "cdepcode",      "multiplier",   "iwasterate",       "fbzdj",
                "wiptype",       "replaceflag",  "clearsubstitutes", "cinsertfirst",
                "cinsertsecond", "cinsertthird", "ccaacomunitcode",  "iprodchangrate"};
    case Operation::Delete:
        break;
    }
    return {};
}

QStringList choicesOf(const QString& name) {
    if (name == QLatin1String("wiptype"))
        return {QString(), QStringLiteral("正常领料"), QStringLiteral("入库倒冲")};
    if (name == QLatin1String("replaceflag") || name == QLatin1String("clearsubstitutes"))
        return {QString(), QStringLiteral("否"), QStringLiteral("是")};
    return {};
}

} // namespace

bool BatchDialog::run(entry::Session& session, const QString& operation, const QStringList& boms,
                      const entry::BomIdentity& component, QWidget* parent) {
    const auto op = operationOf(operation);
    if (!op)
        return false;
    BatchEditor editor(session);
    if (!editor.InitBatch(*op, boms, component))
        return false;
    if (*op == Operation::Delete) {
        const auto result = editor.Save();
        return result && result->run != 0;
    }
    BatchDialog dialog(session, editor, parent);
    dialog.exec();
    return dialog.result() && dialog.result()->run != 0;
}

BatchDialog::BatchDialog(entry::Session& session, BatchEditor& editor, QWidget* parent)
    : QDialog(parent), session_(session), editor_(editor) {
    setObjectName(QStringLiteral("frmBatch"));
    setWindowTitle(editor_.caption());
    auto* layout = new QVBoxLayout(this);
    if (editor_.scope().operation != Operation::Add) {
        auto* line = new QLabel(BatchTexts::currentLine() + editor_.lineDescription(), this);
        line->setObjectName(QStringLiteral("currentLine"));
        line->setWordWrap(true);
        layout->addWidget(line);
    }
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    auto* form = new QWidget(scroll);
    grid_ = new QGridLayout(form);
    scroll->setWidget(form);
    layout->addWidget(scroll, 1);
    item_ = new QLabel(this);
    item_->setObjectName(QStringLiteral("itemInfo"));
    layout->addWidget(item_);
    buildEditors();

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    const auto button = [&](const QString& caption, const QString& name, auto slot) {
        auto* b = new QPushButton(caption, this);
        b->setObjectName(name);
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, slot);
        buttons->addWidget(b);
    };
    button(BatchTexts::previewButton(), QStringLiteral("cmdPreview"), [this] { preview(); });
    button(BatchTexts::saveButton(), QStringLiteral("cmdSave"), [this] { save(); });
    button(BatchTexts::quitButton(), QStringLiteral("cmdQuit"), [this] { reject(); });
    layout->addLayout(buttons);
    refresh();
    resize(720, 620);
}

void BatchDialog::buildEditors() {
    for (const QString& name : editorsOf(editor_.scope().operation)) {
        const QString caption = BatchTexts::editorCaption(name);
        if (!choicesOf(name).isEmpty())
            addChoice(name, caption, choicesOf(name));
        else if (name == QLatin1String("ccaacomunitcode"))
            addReadOnly(name, caption);
        else
            addText(name, caption, kReferenced.contains(name));
    }
    const bool newLine = editor_.scope().operation != Operation::Modify;
    if (newLine)
        for (const auto& free : editor_.freeItems())
            addText(QStringLiteral("cfree") + free.item.mid(3), free.caption, true);
    for (const auto& defined : editor_.userDefined())
        addText(QStringLiteral("cdefine%1").arg(defined.item.mid(4).toInt() + 21), defined.caption,
                defined.checked);
}

void BatchDialog::addRow(const QString& name, const QString& caption, QWidget* editor,
                         QPushButton* button) {
    const int row = grid_->rowCount();
    auto* label = new QLabel(caption, this);
    label->setBuddy(editor);
    editor->setObjectName(name);
    grid_->addWidget(label, row, 0);
    grid_->addWidget(editor, row, 1);
    if (button)
        grid_->addWidget(button, row, 2);
}

void BatchDialog::addText(const QString& name, const QString& caption, bool browse) {
    auto* edit = new QLineEdit(this);
    texts_.insert(name, edit);
    // Modify shows the line as it stands as a hint: only what is typed is written. (Replace
    // writes every column, empty ones too, so it shows no such hint.)
    const db::Rows& line = editor_.currentLine();
    if (editor_.scope().operation == Operation::Modify && !line.empty() &&
        line.columnIndex(name) >= 0)
        edit->setPlaceholderText(line.text(0, name));
    connect(edit, &QLineEdit::editingFinished, this, [this, name] { leave(name); });
    QPushButton* button = nullptr;
    if (browse)
        button = browseButton(name);
    else if (BatchFields::isNumeric(name))
        button = calculatorButton(name);
    addRow(name, caption, edit, button);
}

void BatchDialog::addChoice(const QString& name, const QString& caption,
                            const QStringList& choices) {
    auto* combo = new QComboBox(this);
    combo->addItems(choices);
    choices_.insert(name, combo);
    connect(combo, &QComboBox::activated, this, [this, name] { leave(name); });
    addRow(name, caption, combo);
}

void BatchDialog::addReadOnly(const QString& name, const QString& caption) {
    auto* edit = new QLineEdit(this);
    edit->setReadOnly(true);
    texts_.insert(name, edit);
    addRow(name, caption, edit);
}

QPushButton* BatchDialog::browseButton(const QString& name) {
    auto* button = new QPushButton(QStringLiteral("…"), this);
    button->setObjectName(name + QStringLiteral("Brw"));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, name] { browse(name); });
    return button;
}

// A drop-down where a sum is typed; its result goes into the editor formatted to the
// account's places and is checked as if typed.
QPushButton* BatchDialog::calculatorButton(const QString& name) {
    auto* button = new QPushButton(QStringLiteral("▼"), this);
    button->setObjectName(name + QStringLiteral("Calc"));
    button->setAutoDefault(false);
    auto* menu = new QMenu(button);
    auto* sum = new QLineEdit(menu);
    sum->setObjectName(name + QStringLiteral("Sum"));
    sum->setPlaceholderText(BatchTexts::calculator());
    auto* action = new QWidgetAction(menu);
    action->setDefaultWidget(sum);
    menu->addAction(action);
    connect(menu, &QMenu::aboutToShow, this, [this, sum, name] {
        sum->setText(texts_.value(name)->text());
        sum->selectAll();
        sum->setFocus();
    });
    connect(sum, &QLineEdit::returnPressed, this, [this, sum, menu, name] {
        const auto value = entry::EvaluateArithmetic(sum->text());
        if (!value) {
            session_.prompter.info(BatchTexts::notANumber(), BatchTexts::title(), 48);
            return;
        }
        menu->close();
        QLineEdit* edit = texts_.value(name);
        edit->setText(entry::FormatCalculated(*value, editor_.fields().decimals(name)));
        edit->setModified(true);
        leave(name);
    });
    connect(button, &QPushButton::clicked, this,
            [button, menu] { menu->popup(button->mapToGlobal(QPoint(0, button->height()))); });
    return button;
}

QLineEdit* BatchDialog::lineEditor(const QString& name) const {
    return texts_.value(name);
}

QComboBox* BatchDialog::choiceEditor(const QString& name) const {
    return choices_.value(name);
}

void BatchDialog::leave(const QString& name) {
    if (checking_)
        return;
    QLineEdit* edit = texts_.value(name);
    QComboBox* combo = choices_.value(name);
    if (edit && (!edit->isModified() || edit->isReadOnly()))
        return;
    const QString value = edit ? edit->text() : combo->currentText();
    // The message box of a refusal takes the focus, which must not leave the editor again.
    const QScopedValueRollback<bool> guard(checking_, true);
    if (edit)
        edit->setModified(false);
    if (!editor_.EnterValue(name, value)) {
        if (edit) {
            edit->clear();
            edit->setFocus();
        } else {
            combo->setCurrentIndex(0);
            combo->setFocus();
        }
    }
    refresh();
}

void BatchDialog::browse(const QString& name) {
    QLineEdit* edit = texts_.value(name);
    const list::ReferenceDialog::Requery requery = [this, name](const QString& text) {
        return editor_.reference(name, text);
    };
    const auto query = requery(edit->text());
    if (!query)
        return;
    list::ReferenceDialog dialog(session_, requery, *query, edit->text(), this);
    if (dialog.exec() != QDialog::Accepted || dialog.code().isEmpty())
        return;
    edit->setText(dialog.code());
    edit->setModified(true);
    leave(name);
}

void BatchDialog::refresh() {
    const QScopedValueRollback<bool> guard(checking_, true);
    for (auto it = texts_.cbegin(); it != texts_.cend(); ++it)
        if (!it.value()->hasFocus() || !it.value()->isModified())
            it.value()->setText(editor_.value(it.key()));
    for (auto it = choices_.cbegin(); it != choices_.cend(); ++it) {
        const int at = it.value()->findText(editor_.value(it.key()));
        it.value()->setCurrentIndex(at < 0 ? 0 : at);
    }
    showItem();
}

// What the chosen item is, and which of its free items apply.
void BatchDialog::showItem() {
    const auto& item = editor_.fields().item();
    const bool chosen = item && editor_.scope().operation != Operation::Modify;
    item_->setText(
        chosen ? QStringLiteral("%1 %2 %3").arg(item->name, item->specification, item->mainUnitName)
               : QString());
    for (int n = 1; n <= 10; ++n)
        if (QLineEdit* free = texts_.value(QStringLiteral("cfree%1").arg(n)))
            free->setEnabled(chosen && item->usesFree[std::size_t(n - 1)]);
}

bool BatchDialog::preview() {
    const auto plan = editor_.Preview();
    if (!plan)
        return false;
    BatchPreviewDialog(*plan, this).exec();
    return true;
}

bool BatchDialog::save() {
    suite::RunProgressDialog progress(BatchTexts::running(), BatchTexts::cancelButton(), this);
    const auto result = editor_.Save(progress.callback());
    progress.reset();
    if (!result)
        return false;
    if (result->cancelled) {
        session_.prompter.info(BatchTexts::cancelled(), BatchTexts::title(), 64);
        return false;
    }
    result_ = result;
    accept();
    return true;
}

} // namespace bom::batch
