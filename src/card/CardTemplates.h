#pragma once

#include "bomservice/BomCardLoader.h"

#include <QString>
#include <optional>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::card {

// A template combo as the window shows it.
struct TemplateCombo {
    std::vector<bomservice::TemplateChoice> entries; // in the order of the query
    int selected = -1;                               // index into entries; -1 when empty
    QString label;                                   // "显示模版：" or "打印模版："
    QString toolTip;                                 // the selected name

    std::optional<int> selectedId() const;
    // The toolbar combo's text of an entry: the name followed by the id in parentheses.
    QString toolbarText(int index) const;
};

// The templates of a card the operator may use (his rights on voucher templates), for the
// display (mode 0) and print (mode 1) combos.
class CardTemplates {
public:
    static constexpr int kDisplay = 0;
    static constexpr int kPrint = 1;

    explicit CardTemplates(entry::Session& session) : session_(session) {}

    // The permitted templates with the requested one selected, else the card's default for
    // the mode, else the first. None: "没有任何有权限的模板或对当前模板无修改权限！" is shown and
    // the combo is empty. Throws db::DbError.
    TemplateCombo fill(const QString& cardNumber, int mode, int requestedId);

    // The template id of a toolbar combo text: between its first "(" and the first ")".
    static std::optional<int> idOfToolbarText(const QString& text);

private:
    int defaultId(const QString& cardNumber, int mode);

    entry::Session& session_;
};

} // namespace bom::card
