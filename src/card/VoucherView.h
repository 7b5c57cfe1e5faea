#pragma once

#include <QHash>
#include <QWidget>

class QGridLayout;
class QLabel;
class QLineEdit;
class QScrollArea;
class QSplitter;
class QTableView;

namespace bom::card {

class CardDocument;

// The card as the operator sees it: the template's header fields above the grid of lines.
// It draws the document, redraws whenever the document changes, and writes what the operator
// types back into it; only an editable card (VoucherStatus 1) takes entries.
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

    QLineEdit* headerEdit(const QString& field) const { return headerEdits_.value(field); }
    QLabel* headerCaption(const QString& field) const { return headerCaptions_.value(field); }
    QTableView* body() const { return body_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    class BodyModel;

    void fitHeader();
    void headerEdited(const QString& field);
    void followCurrentRow();

    CardDocument& document_;
    QSplitter* split_ = nullptr;
    QScrollArea* headerArea_ = nullptr;
    QWidget* header_ = nullptr;
    QGridLayout* headerLayout_ = nullptr;
    QHash<QString, QLineEdit*> headerEdits_;
    QHash<QString, QLabel*> headerCaptions_;
    BodyModel* model_ = nullptr;
    QTableView* body_ = nullptr;
    bool refreshing_ = false;
    bool headerSized_ = false; // the operator has set the split between header and lines
};

} // namespace bom::card
