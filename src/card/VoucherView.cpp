#include "VoucherView.h"

#include "CardDocument.h"
#include "CardEntry.h"
#include "list/ReferenceDialog.h"

#include <QAbstractItemDelegate>
#include <QAbstractTableModel>
#include <QApplication>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScopedValueRollback>
#include <QScrollArea>
#include <QShortcut>
#include <QSplitter>
#include <QStyle>
#include <QStyledItemDelegate>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>

namespace bom::card {
namespace {

// Header fields side by side, so a card of many fields stays short.
constexpr int kHeaderColumns = 3;
const QColor kRequired(Qt::blue);

} // namespace

// The lines as the document shows them (summarised or not), one column per visible field.
class VoucherView::BodyModel : public QAbstractTableModel {
public:
    BodyModel(CardDocument& document, QObject* parent)
        : QAbstractTableModel(parent), document_(document) {}

    // Where an entry goes when the card checks its entries; false when refused.
    std::function<bool(int row, const QString& field, const QString& value)> enter;
    // Whether a column takes entries at all when the card checks them.
    std::function<bool(const QString& field)> takes;

    const std::vector<CardField>& fields() const { return fields_; }

    void rebuild() {
        beginResetModel();
        fields_.clear();
        for (const CardField& field : document_.layout().body)
            if (field.visible)
                fields_.push_back(field);
        rows_ = shownRows();
        endResetModel();
    }

    void refresh() {
        const int rows = shownRows();
        if (rows != rows_) {
            beginResetModel();
            rows_ = rows;
            endResetModel();
        } else if (rows_ > 0 && !fields_.empty()) {
            emit dataChanged(index(0, 0), index(rows_ - 1, int(fields_.size()) - 1));
        }
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : rows_;
    }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : int(fields_.size());
    }

    QVariant data(const QModelIndex& index, int role) const override {
        if (!index.isValid() || index.row() >= rows_)
            return {};
        const CardField& field = fields_[std::size_t(index.column())];
        if (role == Qt::DisplayRole)
            return document_.shownText(index.row(), field.name);
        if (role == Qt::EditRole)
            return document_.bodyText(index.row(), field.name);
        if (role == Qt::TextAlignmentRole && field.decimals >= 0)
            return QVariant(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    }

    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        if (orientation == Qt::Vertical)
            return role == Qt::DisplayRole ? QVariant(section + 1) : QVariant();
        if (section < 0 || section >= int(fields_.size()))
            return {};
        const CardField& field = fields_[std::size_t(section)];
        if (role == Qt::DisplayRole)
            return field.caption;
        if (role == Qt::ForegroundRole && field.required)
            return kRequired;
        return {};
    }

    Qt::ItemFlags flags(const QModelIndex& index) const override {
        Qt::ItemFlags flags = QAbstractTableModel::flags(index);
        if (editable() && (!takes || takes(fields_[std::size_t(index.column())].name)))
            flags |= Qt::ItemIsEditable;
        return flags;
    }

    bool setData(const QModelIndex& index, const QVariant& value, int role) override {
        if (role != Qt::EditRole || !index.isValid() || !editable())
            return false;
        const QString& field = fields_[std::size_t(index.column())].name;
        if (document_.bodyText(index.row(), field) == value.toString())
            return true;
        if (enter)
            return enter(index.row(), field, value.toString());
        document_.setBodyText(index.row(), field, value.toString());
        return true;
    }

    // Summarised rows are not lines, so they take no entries.
    bool editable() const {
        return document_.VoucherStatus() == 1 && !document_.IsAggregateStatus();
    }

private:
    int shownRows() const { return document_.layout().hasBodyGrid ? document_.shownRows() : 0; }

    CardDocument& document_;
    std::vector<CardField> fields_;
    int rows_ = 0;
};

// A cell's editor offers the field's reference like a header field does.
class VoucherView::CellDelegate : public QStyledItemDelegate {
public:
    CellDelegate(VoucherView& view, BodyModel& model)
        : QStyledItemDelegate(&view), view_(view), model_(model) {}

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override {
        QWidget* editor = QStyledItemDelegate::createEditor(parent, option, index);
        if (auto* edit = qobject_cast<QLineEdit*>(editor))
            view_.offerReference(edit, model_.fields()[std::size_t(index.column())].name,
                                 index.row());
        return editor;
    }

private:
    VoucherView& view_;
    BodyModel& model_;
};

VoucherView::VoucherView(CardDocument& document, QWidget* parent)
    : QWidget(parent), document_(document) {
    auto* layout = new QVBoxLayout(this);
    // A template with many header fields scrolls them, so the lines keep their room.
    split_ = new QSplitter(Qt::Vertical, this);
    auto* split = split_;
    headerArea_ = new QScrollArea(split);
    headerArea_->setFrameShape(QFrame::NoFrame);
    headerArea_->setWidgetResizable(true);
    headerArea_->viewport()->setAutoFillBackground(false);
    header_ = new QWidget(headerArea_);
    header_->setObjectName(QStringLiteral("header"));
    headerLayout_ = new QGridLayout(header_);
    headerArea_->setWidget(header_);
    layout->addWidget(split, 1);

    model_ = new BodyModel(document_, this);
    body_ = new QTableView(split);
    body_->setObjectName(QStringLiteral("body"));
    body_->setModel(model_);
    body_->setSelectionBehavior(QAbstractItemView::SelectRows);
    body_->setSelectionMode(QAbstractItemView::SingleSelection);
    body_->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                           QAbstractItemView::AnyKeyPressed);
    body_->verticalHeader()->setDefaultSectionSize(body_->fontMetrics().height() + 8);
    split->addWidget(headerArea_);
    split->addWidget(body_);
    split->setStretchFactor(1, 1);
    connect(split, &QSplitter::splitterMoved, this, [this] { headerSized_ = true; });

    body_->setItemDelegate(new CellDelegate(*this, *model_));
    body_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(body_, &QWidget::customContextMenuRequested, this, &VoucherView::showLinesMenu);
    connect(body_->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { followCurrentRow(); });
    document_.onChanged = [this] { refresh(); };
    rebuild();
}

VoucherView::~VoucherView() {
    document_.onChanged = nullptr;
}

void VoucherView::rebuild() {
    const QScopedValueRollback<bool> refreshing(refreshing_, true);
    qDeleteAll(headerEdits_);
    qDeleteAll(headerCaptions_);
    headerEdits_.clear();
    headerCaptions_.clear();
    int slot = 0;
    for (const CardField& field : document_.layout().header) {
        if (!field.visible)
            continue;
        auto* caption = new QLabel(field.caption, header_);
        auto* edit = new QLineEdit(header_);
        edit->setObjectName(field.name);
        caption->setBuddy(edit);
        if (field.required) {
            QPalette palette = caption->palette();
            palette.setColor(QPalette::WindowText, kRequired);
            caption->setPalette(palette);
        }
        if (field.decimals >= 0)
            edit->setAlignment(Qt::AlignRight);
        connect(edit, &QLineEdit::editingFinished, this,
                [this, name = field.name] { headerEdited(name); });
        offerReference(edit, field.name, -1);
        headerLayout_->addWidget(caption, slot / kHeaderColumns, 2 * (slot % kHeaderColumns));
        headerLayout_->addWidget(edit, slot / kHeaderColumns, 2 * (slot % kHeaderColumns) + 1);
        headerCaptions_.insert(field.name, caption);
        headerEdits_.insert(field.name, edit);
        ++slot;
    }
    headerArea_->setMaximumHeight(header_->sizeHint().height() + 2 * headerArea_->frameWidth());
    fitHeader();
    model_->rebuild();
    body_->setVisible(document_.layout().hasBodyGrid);
    refresh();
}

void VoucherView::fitHeader() {
    // The header as tall as its fields, but never more than half the card.
    const int total = split_->height();
    if (total <= 0 || headerSized_)
        return;
    const int header = std::min(headerArea_->maximumHeight(), total / 2);
    split_->setSizes({header, total - header});
}

void VoucherView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    fitHeader();
}

void VoucherView::refresh() {
    const QScopedValueRollback<bool> refreshing(refreshing_, true);
    const bool editable = document_.VoucherStatus() == 1;
    for (const CardField& field : document_.layout().header) {
        QLineEdit* edit = headerEdits_.value(field.name);
        if (!edit)
            continue;
        const QString text = field.text(document_.headerText(field.name));
        if (edit->text() != text)
            edit->setText(text);
        edit->setReadOnly(!editable || (check_ && !check_->takesEntry(field.name, true)));
    }
    model_->refresh();
    const int row = document_.IsAggregateStatus() ? -1 : document_.currentRow();
    if (row >= 0 && row < model_->rowCount()) {
        if (body_->currentIndex().row() != row) {
            body_->setCurrentIndex(model_->index(row, std::max(0, body_->currentIndex().column())));
            body_->scrollTo(body_->currentIndex());
        }
    } else if (body_->currentIndex().isValid()) {
        body_->setCurrentIndex({});
    }
    emit shown();
}

void VoucherView::headerEdited(const QString& name) {
    QLineEdit* edit = headerEdits_.value(name);
    if (refreshing_ || !edit || document_.VoucherStatus() != 1)
        return;
    const auto field =
        std::find_if(document_.layout().header.begin(), document_.layout().header.end(),
                     [&](const CardField& f) { return f.name == name; });
    const QString stored = document_.headerText(name);
    // Leaving a field untouched writes nothing, though it shows the value rounded.
    if (checking_ || edit->text() == stored ||
        (field != document_.layout().header.end() && edit->text() == field->text(stored)))
        return;
    if (!check_) {
        document_.setHeaderText(name, edit->text());
        return;
    }
    bool accepted = false;
    {
        const QScopedValueRollback<bool> checking(checking_, true);
        accepted = check_->headerEntry(name, edit->text());
    }
    if (accepted)
        return;
    refresh(); // the field shows its value again
    edit->setFocus();
    edit->selectAll();
}

bool VoucherView::enterCell(int row, const QString& field, const QString& value) {
    if (checking_)
        return false;
    bool accepted = false;
    {
        const QScopedValueRollback<bool> checking(checking_, true);
        accepted = check_->bodyEntry(row, field, value);
    }
    if (!accepted) {
        // The operator stays in the cell, which shows its value again.
        const int column = body_->currentIndex().column();
        QTimer::singleShot(0, body_, [this, row, column] {
            const QModelIndex cell = model_->index(row, column);
            body_->setCurrentIndex(cell);
            body_->edit(cell);
        });
    }
    return accepted;
}

void VoucherView::setEntryCheck(entry::Session& session, CardEntry& check) {
    session_ = &session;
    check_ = &check;
    model_->takes = [this](const QString& field) { return check_->takesEntry(field, false); };
    model_->enter = [this](int row, const QString& field, const QString& value) {
        return enterCell(row, field, value);
    };
    rebuild();
}

void VoucherView::offerReference(QLineEdit* edit, const QString& field, int row) {
    if (!check_ || !check_->offersReference(field, row < 0))
        return;
    QAction* button = edit->addAction(style()->standardIcon(QStyle::SP_FileDialogContentsView),
                                      QLineEdit::TrailingPosition);
    button->setToolTip(QStringLiteral("参照（F2）"));
    auto open = [this, edit, field, row] {
        if (document_.VoucherStatus() != 1 || edit->isReadOnly())
            return;
        // A cell's editor goes before the pick writes the line.
        const int line = row < 0 ? -1 : body_->currentIndex().row();
        if (row >= 0)
            body_->setFocus();
        openReference(field, line);
    };
    connect(button, &QAction::triggered, this, open);
    auto* key = new QShortcut(QKeySequence(Qt::Key_F2), edit, open, Qt::WidgetShortcut);
    Q_UNUSED(key);
}

std::optional<QStringList> VoucherView::pick(const QString& field, int row, const QString& typed,
                                             bool several) {
    const list::ReferenceDialog::Requery requery = [this, field, row](const QString& text) {
        return check_->reference(field, row, text);
    };
    const auto query = requery(typed);
    if (!query)
        return std::nullopt;
    list::ReferenceDialog dialog(*session_, requery, *query, typed, this);
    dialog.setMultiSelection(several);
    if (dialog.exec() != QDialog::Accepted || dialog.codes().isEmpty())
        return std::nullopt;
    return dialog.codes();
}

void VoucherView::openReference(const QString& field, int row) {
    if (!check_ || document_.VoucherStatus() != 1)
        return;
    const bool component =
        row >= 0 && (field == QLatin1String("cpscode") || field == QLatin1String("cinvname"));
    const QString typed = row < 0 ? QString() : document_.bodyText(row, field);
    const auto codes = pick(field, row, typed, component);
    if (!codes)
        return;
    const QScopedValueRollback<bool> checking(checking_, true);
    if (row < 0)
        check_->headerEntry(field, codes->first());
    else if (component)
        check_->pickItems(row, *codes);
    else
        check_->bodyEntry(row, field, codes->first());
}

void VoucherView::fillAllLines(const QString& field) {
    if (!check_ || document_.VoucherStatus() != 1 || document_.BodyRows() == 0)
        return;
    const auto codes = pick(field, 0, QString(), false);
    if (!codes)
        return;
    const QScopedValueRollback<bool> checking(checking_, true);
    check_->fillAllLines(field, codes->first());
}

void VoucherView::showLinesMenu(const QPoint& at) {
    if (!check_ || document_.VoucherStatus() != 1 || document_.IsAggregateStatus())
        return;
    const auto fields = check_->allLinesFields();
    if (fields.empty())
        return;
    QMenu menu(this);
    for (const auto& [field, caption] : fields)
        menu.addAction(caption, this, [this, field = field] { fillAllLines(field); });
    menu.exec(body_->viewport()->mapToGlobal(at));
}

void VoucherView::followCurrentRow() {
    if (refreshing_ || document_.IsAggregateStatus())
        return;
    const int row = body_->currentIndex().row();
    if (row != document_.currentRow())
        document_.setCurrentRow(row);
}

void VoucherView::commitEdits() {
    QWidget* focus = QApplication::focusWidget();
    if (!focus)
        return;
    for (auto it = headerEdits_.begin(); it != headerEdits_.end(); ++it)
        if (it.value() == focus)
            headerEdited(it.key());
    // An open cell editor is the viewport's child; its delegate hands the text over.
    if (focus != body_->viewport() && body_->viewport()->isAncestorOf(focus)) {
        QAbstractItemDelegate* delegate = body_->itemDelegateForIndex(body_->currentIndex());
        emit delegate->commitData(focus);
        emit delegate->closeEditor(focus, QAbstractItemDelegate::NoHint);
    }
}

int VoucherView::findRow(const QString& text, int from) const {
    for (int row = std::max(0, from); row < model_->rowCount(); ++row)
        for (int column = 0; column < model_->columnCount(); ++column)
            if (model_->index(row, column).data().toString().contains(text, Qt::CaseInsensitive))
                return row;
    return -1;
}

} // namespace bom::card
