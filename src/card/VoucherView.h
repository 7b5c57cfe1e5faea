#pragma once

#include <QHash>
#include <QStringList>
#include <QWidget>
#include <optional>

class QGridLayout;
class QLabel;
class QLineEdit;
class QScrollArea;
class QSplitter;
class QTableView;

namespace bom::entry {
class Session;
}

namespace bom::card {

class CardDocument;
class CardEntry;

// The card as the operator sees it: the template's header fields above the grid of lines.
// It draws the document, redraws whenever the document changes, and writes what the operator
// types back into it; only an editable card (VoucherStatus 1) takes entries. With an entry
// check every entry passes it: a refused one shows its message and the field or cell keeps
// its value and the focus; code fields then offer their reference list (F2 or the field's
// button), and the lines' menu fills one value into all lines.
class VoucherView : public QWidget {
    Q_OBJECT
public:
    explicit VoucherView(CardDocument& document, QWidget* parent = nullptr);
    ~VoucherView() override;

    // Lays the fields out again from the document's template.
    void rebuild();
    // Shows the document's values and state.
    void refresh();
    // Writes what the operator is still typing (a header field, a cell's editor) into the
    // document, so a command sees it.
    void commitEdits();
    // The first shown line from `from` on with a visible cell containing `text`, or -1.
    int findRow(const QString& text, int from = 0) const;

    void setEntryCheck(entry::Session& session, CardEntry& check);
    // The reference of a header field (`row` -1) or of a cell, what is picked entered through
    // the check (several items at once fill several lines).
    void openReference(const QString& field, int row);
    // One value of `field` for every line, picked from its reference.
    void fillAllLines(const QString& field);

    QLineEdit* headerEdit(const QString& field) const { return headerEdits_.value(field); }
    QLabel* headerCaption(const QString& field) const { return headerCaptions_.value(field); }
    QTableView* body() const { return body_; }

signals:
    // The document changed and has been drawn (a moved current line, an entry taken).
    void shown();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    class BodyModel;
    class CellDelegate;

    void fitHeader();
    void headerEdited(const QString& field);
    void followCurrentRow();
    // A cell's entry through the check; false when refused (the cell is opened again).
    bool enterCell(int row, const QString& field, const QString& value);
    void offerReference(QLineEdit* edit, const QString& field, int row);
    std::optional<QStringList> pick(const QString& field, int row, const QString& typed,
                                    bool several);
    void showLinesMenu(const QPoint& at);

    CardDocument& document_;
    QSplitter* split_ = nullptr;
    QScrollArea* headerArea_ = nullptr;
    QWidget* header_ = nullptr;
    QGridLayout* headerLayout_ = nullptr;
    QHash<QString, QLineEdit*> headerEdits_;
    QHash<QString, QLabel*> headerCaptions_;
    BodyModel* model_ = nullptr;
    QTableView* body_ = nullptr;
    entry::Session* session_ = nullptr;
    CardEntry* check_ = nullptr;
    bool checking_ = false; // a check's message box is up: focus changes are not entries
    bool refreshing_ = false;
    bool headerSized_ = false; // the operator has set the split between header and lines
};

} // namespace bom::card
