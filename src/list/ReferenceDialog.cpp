#include "ReferenceDialog.h"

#include "db/DbError.h"
#include "entry/Common.h"
#include "entry/Session.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSplitter>
#include <QTableWidget>
#include <QTimer>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace bom::list {
namespace {

// The column a class of the class tree narrows; references without a tree have none.
QString classColumn(const QString& table) {
    if (table.compare(QLatin1String("Inventory"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Inventory.cInvCCode");
    if (table.compare(QLatin1String("Person"), Qt::CaseInsensitive) == 0)
        return QStringLiteral("Person.cDepCode");
    return {};
}

QString likePrefix(QString code) {
    code.replace(QLatin1Char('\\'), QLatin1String("\\\\"));
    code.replace(QLatin1Char('%'), QLatin1String("\\%"));
    code.replace(QLatin1Char('_'), QLatin1String("\\_"));
    return code + QLatin1Char('%');
}

QString bareName(const QString& name) {
    return name.mid(name.lastIndexOf('.') + 1).toLower();
}

} // namespace

ReferenceDialog::Requery ReferenceDialog::byField(entry::Session& session, const QString& field) {
    return [&session, field](const QString& text) -> std::optional<entry::ReferenceQuery> {
        try {
            return entry::ReferenceLookup(session).ShowRef(field, text);
        } catch (const db::DbError& e) {
            session.ShowInfo(e.message());
            return std::nullopt;
        }
    };
}

std::optional<std::pair<QString, QString>> ReferenceDialog::choose(entry::Session& session,
                                                                   const QString& field,
                                                                   const QString& text,
                                                                   QWidget* parent) {
    const Requery requery = byField(session, field);
    const auto query = requery(text);
    if (!query)
        return std::nullopt;
    ReferenceDialog dialog(session, requery, *query, text, parent);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return std::make_pair(dialog.code(), dialog.name());
}

ReferenceDialog::ReferenceDialog(entry::Session& session, Requery requery,
                                 entry::ReferenceQuery query, const QString& text, QWidget* parent)
    : QDialog(parent), session_(session), requery_(std::move(requery)), query_(std::move(query)) {
    setWindowTitle(QStringLiteral("参照"));
    auto* layout = new QVBoxLayout(this);
    auto* searchRow = new QHBoxLayout;
    searchRow->addWidget(new QLabel(QStringLiteral("查找："), this));
    search_ = new QLineEdit(text, this);
    searchRow->addWidget(search_);
    layout->addLayout(searchRow);

    auto* splitter = new QSplitter(Qt::Horizontal, this);
    classes_ = new QTreeWidget(splitter);
    classes_->setHeaderLabel(QStringLiteral("分类"));
    rows_ = new QTableWidget(splitter);
    rows_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    rows_->setSelectionBehavior(QAbstractItemView::SelectRows);
    rows_->setSelectionMode(QAbstractItemView::SingleSelection);
    splitter->setStretchFactor(1, 3);
    layout->addWidget(splitter, 1);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QStringLiteral("确定"), QDialogButtonBox::AcceptRole);
    buttons->addButton(QStringLiteral("取消"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &ReferenceDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);

    connect(search_, &QLineEdit::textChanged, this, &ReferenceDialog::search);
    connect(rows_, &QTableWidget::cellDoubleClicked, this, [this] { accept(); });
    connect(rows_->verticalScrollBar(), &QScrollBar::valueChanged, this, [this](int value) {
        if (value >= rows_->verticalScrollBar()->maximum())
            loadNextPage();
    });
    connect(classes_, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
        selectClass(item ? item->data(0, Qt::UserRole).toString() : QString());
    });

    loadClasses();
    restart();
    resize(720, 480);
}

void ReferenceDialog::loadClasses() {
    classes_->setVisible(!query_.classTree.isEmpty());
    if (query_.classTree.isEmpty() || !session_.gConn)
        return;
    db::Rows rows;
    try {
        rows = query_.classes(*session_.gConn);
    } catch (const db::DbError& e) {
        session_.ShowInfo(e.message());
        return;
    }
    auto* all = new QTreeWidgetItem(classes_, {QStringLiteral("全部")});
    all->setData(0, Qt::UserRole, QString());
    // Codes are hierarchical: a class hangs under the longest code that begins it.
    std::vector<std::pair<QString, QTreeWidgetItem*>> seen;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QString code = rows.at(i).value(0).toString();
        const QString name = rows.at(i).value(1).toString();
        QTreeWidgetItem* parent = all;
        int best = 0;
        for (const auto& [other, item] : seen)
            if (other.size() > best && other.size() < code.size() && code.startsWith(other)) {
                parent = item;
                best = int(other.size());
            }
        auto* item = new QTreeWidgetItem(parent, {code + QLatin1Char(' ') + name});
        item->setData(0, Qt::UserRole, code);
        seen.emplace_back(code, item);
    }
    classes_->expandToDepth(0);
}

int ReferenceDialog::loadedRows() const {
    return rows_->rowCount();
}

void ReferenceDialog::setMultiSelection(bool on) {
    rows_->setSelectionMode(on ? QAbstractItemView::ExtendedSelection
                               : QAbstractItemView::SingleSelection);
}

void ReferenceDialog::search(const QString& text) {
    const auto query = requery_(text);
    if (!query)
        return;
    query_ = *query;
    restart();
}

void ReferenceDialog::selectClass(const QString& classCode) {
    classCode_ = classCode;
    restart();
}

void ReferenceDialog::restart() {
    rows_->clearContents();
    rows_->setRowCount(0);
    nextPage_ = 0;
    more_ = true;
    loadNextPage();
    if (rows_->rowCount() > 0)
        rows_->selectRow(0);
    QTimer::singleShot(0, this, &ReferenceDialog::fillViewport);
}

// Without a scroll bar the operator could never ask for the next page.
void ReferenceDialog::fillViewport() {
    for (int i = 0; i < 20 && more_ && rows_->verticalScrollBar()->maximum() == 0; ++i)
        loadNextPage();
}

bool ReferenceDialog::loadNextPage() {
    if (!more_ || !session_.gConn)
        return false;
    entry::ReferenceQuery query = query_;
    const QString column = classColumn(query.table);
    if (!classCode_.isEmpty() && !column.isEmpty())
        query.select += db::SqlCondition{QStringLiteral(" and %1 like ? ESCAPE '\\'").arg(column),
                                         {likePrefix(classCode_)}};
    db::Rows page;
    std::vector<suite::ColumnSetting> settings;
    try {
        page = query.page(*session_.gConn, nextPage_, kPageSize);
        if (nextPage_ == 0)
            settings = entry::Common::GetRefColumns(session_, query.key).colSet;
    } catch (const db::DbError& e) {
        more_ = false;
        session_.ShowInfo(e.message());
        return false;
    }
    ++nextPage_;
    more_ = int(page.size()) == kPageSize;
    if (nextPage_ == 1) {
        QStringList headers;
        for (const QString& name : page.columns()) {
            QString caption = name;
            for (const suite::ColumnSetting& c : settings)
                if (bareName(c.fieldName) == name.toLower() && !c.caption.isEmpty())
                    caption = c.caption;
            headers << caption;
        }
        rows_->setColumnCount(int(headers.size()));
        rows_->setHorizontalHeaderLabels(headers);
    }
    const int first = rows_->rowCount();
    rows_->setRowCount(first + int(page.size()));
    for (std::size_t i = 0; i < page.size(); ++i)
        for (int c = 0; c < page.at(i).size(); ++c)
            rows_->setItem(first + int(i), c, new QTableWidgetItem(page.at(i).at(c).toString()));
    return !page.empty();
}

void ReferenceDialog::accept() {
    const int row = rows_->currentRow();
    if (row < 0 || row >= rows_->rowCount())
        return;
    auto text = [&](int column) {
        const QTableWidgetItem* item = rows_->item(row, column);
        return item ? item->text() : QString();
    };
    code_ = text(0);
    name_ = text(1);
    codes_.clear();
    for (int r = 0; r < rows_->rowCount(); ++r)
        if (rows_->item(r, 0) && rows_->item(r, 0)->isSelected())
            codes_ << rows_->item(r, 0)->text();
    if (codes_.isEmpty())
        codes_ << code_;
    QDialog::accept();
}

} // namespace bom::list
