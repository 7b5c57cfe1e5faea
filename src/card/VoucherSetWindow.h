#pragma once

#include "CardDocument.h"
#include "CardForm.h"
#include "CardPrintSettings.h"
#include "clsVoucher.h"
#include "entry/DisplayTerms.h"

#include <QDialog>
#include <memory>
#include <vector>

class QAction;
class QComboBox;
class QLabel;
class QPrinter;
class QSplitter;
class QToolBar;
class QTreeWidget;
class QTreeWidgetItem;

namespace bom::entry {
class Session;
}
namespace bom::suite {
class QtPrompter;
}

namespace bom::card {

class CardEntryCheck;
class VoucherView;

// The BOM card (frmVoucherSet): the BOM tree left of the card, the toolbar above. Every button,
// shortcut, tree click and close request goes to the card's command dispatcher; the window
// shows what it asks for.
class VoucherSetWindow : public QDialog, public CardForm {
    Q_OBJECT
public:
    // A toolbar button: its key, caption and shortcut (0 for none); "" caption for a separator.
    struct Button {
        QString key;
        QString caption;
        int shortcut = 0;
        Qt::KeyboardModifiers modifiers = Qt::NoModifier;
    };
    // Every button in toolbar order, separators included.
    static const std::vector<Button>& buttons();

    // Default width of the tree, in twips, when the operator has not set one.
    static constexpr int kDefaultTreeWidth = 3300;

    VoucherSetWindow(entry::Session& session, CardNavigator& navigator, QWidget* parent = nullptr);
    ~VoucherSetWindow() override;

    // Shows a stored BOM, as the list opens the card.
    bool LoadCard(const QString& headerId);
    // Runs a command key through the dispatcher (ADD_X, MODIFY_X, ALLCOPY … from the list).
    bool ExecuteCommand(const QString& key, const QString& extra = QString());
    // A toolbar button clicked (or its shortcut pressed): the form's own part, then the
    // dispatcher.
    void buttonClick(const QString& key);
    // The display template id the toolbar's combo names, "" when none.
    QString toolbarTemplateId() const;

    clsVoucher& voucher() { return *voucher_; }
    CardDocument& document() { return document_; }
    VoucherView* view() const { return view_; }
    QToolBar* toolbar() const { return toolbar_; }
    QAction* button(const QString& key) const; // any case; nullptr when not created
    QTreeWidget* tree() const { return tree_; }
    QSplitter* splitter() const { return splitter_; }
    QComboBox* templateCombo() const { return templateCombo_; }
    QComboBox* printTemplateCombo() const { return printCombo_; }
    QLabel* titleLabel() const { return title_; }
    // Set by Modify, cleared by Save and Cancel.
    bool editable() const { return editable_; }

    // CardForm
    void closeForm() override;
    void showFindRow() override;
    void help() override;
    void setToolbarEnabled(const QMap<QString, bool>& enabled) override;
    void showTree(const std::vector<bomservice::BomTreeNode>& nodes) override;
    void SetCboVt(int templateId) override;
    std::optional<QString> askSoCode(const QString& suggested) override;
    void showPicture(const QString& itemCode, const QByteArray& picture) override;
    void showInventoryCard(const QString& itemCode,
                           const std::vector<std::pair<QString, QString>>& fields) override;
    void showHistory(const QString& headerId,
                     const std::vector<bomservice::BomHistory::Entry>& entries) override;
    void showAttachments(const QString& headerId) override;
    void showStructure(const QString& headerId) override;
    void print(PrintMode mode, int printTemplateId) override;

    // The tree's width kept for the operator (setting "lw", in twips) and as pixels here.
    static int twipsToPixels(int twips, double dpi) { return int(twips * dpi / 1440.0 + 0.5); }
    static int pixelsToTwips(int pixels, double dpi) { return int(pixels * 1440.0 / dpi + 0.5); }

    void reject() override; // Esc closes through the guard

protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void buildToolbar();
    void fillTemplates();
    void templateChosen(int index);
    void printTemplateChosen(int index);
    void savePrintSettings();
    QPrinter& printer();
    void output(const bomservice::BomCard& card, const CardLayout& printLayout);
    void placeSplitter();
    void saveSplitter();
    double dpi() const;
    void filterKeys();
    bool handleKey(QKeyEvent* event);
    void treeClicked(QTreeWidgetItem* item);
    void selectShownNode();
    void updateAttachmentCount();
    void afterCommand();
    // The substitutes card of a saved line (TLBOPT).
    bool openSubstitutes(const QString& lineAutoid, QString& error);

    entry::Session& session_;
    entry::DisplayTerms terms_;
    CardDocument document_;
    std::unique_ptr<CardEntryCheck> entryCheck_;
    std::unique_ptr<clsVoucher> voucher_;
    suite::QtPrompter* qtPrompter_ = nullptr;
    QWidget* prompterParent_ = nullptr;
    std::unique_ptr<QPrinter> printer_;
    PrintSettings printSettings_;

    QToolBar* toolbar_ = nullptr;
    QComboBox* templateCombo_ = nullptr;
    QComboBox* printCombo_ = nullptr;
    QLabel* title_ = nullptr;
    QSplitter* splitter_ = nullptr;
    QTreeWidget* tree_ = nullptr;
    VoucherView* view_ = nullptr;
    bool editable_ = false;
    bool closing_ = false;
};

} // namespace bom::card
