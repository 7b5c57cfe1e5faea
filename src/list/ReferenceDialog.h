#pragma once

#include "entry/ReferenceLookup.h"

#include <QDialog>
#include <QStringList>
#include <functional>
#include <optional>
#include <utility>

class QLineEdit;
class QTableWidget;
class QTreeWidget;

namespace bom::entry {
class Session;
}

namespace bom::list {

// The reference window of a code field: the rows of its reference narrowed by the typed text
// (and by a class when the reference has a class tree), read a page at a time as the operator
// scrolls. OK or a double click picks a row's code and name (or, where several may be picked,
// the codes of the selected rows).
class ReferenceDialog : public QDialog {
    Q_OBJECT
public:
    static constexpr int kPageSize = 50;

    // The reference again for new typed text; nothing when there is none (its message shown).
    using Requery = std::function<std::optional<entry::ReferenceQuery>(const QString& text)>;
    // The session's reference of a field by its name.
    static Requery byField(entry::Session& session, const QString& field);

    // Opens the reference of `field`; nothing when the operator cancels or the field has no
    // reference (ShowRef has said so).
    static std::optional<std::pair<QString, QString>> choose(entry::Session& session,
                                                             const QString& field,
                                                             const QString& text,
                                                             QWidget* parent = nullptr);

    ReferenceDialog(entry::Session& session, Requery requery, entry::ReferenceQuery query,
                    const QString& text, QWidget* parent = nullptr);

    // Several rows may be picked at once.
    void setMultiSelection(bool on);
    QString code() const { return code_; }
    QString name() const { return name_; }
    // The codes picked, in the list's order (one unless several may be picked).
    const QStringList& codes() const { return codes_; }
    int loadedRows() const;
    // Re-runs the reference for new typed text.
    void search(const QString& text);
    // Narrows the rows to a class and its sub-classes; empty for all.
    void selectClass(const QString& classCode);
    bool loadNextPage();

    void accept() override;

private:
    void restart();
    void loadClasses();
    void fillViewport();

    entry::Session& session_;
    Requery requery_;
    entry::ReferenceQuery query_;
    QString classCode_;
    int nextPage_ = 0;
    bool more_ = true;
    QLineEdit* search_ = nullptr;
    QTreeWidget* classes_ = nullptr;
    QTableWidget* rows_ = nullptr;
    QString code_;
    QString name_;
    QStringList codes_;
};

} // namespace bom::list
