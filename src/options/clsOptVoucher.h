#pragma once

#include "bomservice/RowSet.h"

#include <QString>
#include <QVariant>

namespace bom::entry {
class Session;
}
namespace bom::suite {
class Login;
}

namespace bom::options {

class OptVoucherControl;

// The options card of one component line (card "PP31"): its header is the line, its body the
// line's substitutes in ProstruOpt, each keyed by compsubid. Loads the card, checks the
// substitutes and writes them in one transaction. Every failure has been shown through the
// session's Prompter when a call returns false, so a caller does not show it again: sErr holds
// the short reason ("单据录入不合法！" for a refused check, "保存失败！" for a save that wrote
// nothing), errstr the text of a failed save's style-16 box "BOM维护". Database errors outside
// the save's transaction throw db::DbError, as the BOM services' do.
//
// The card is written over the versions it was loaded at: the BOM's (the header's qzts, which
// the save moves on, so that a BOM card loaded before no longer saves over the substitutes)
// and each changed or deleted substitute row's own qzts.
class clsOptVoucher {
public:
    static constexpr const char* kCardNumber = "PP31";

    explicit clsOptVoucher(entry::Session& session);

    // Loads header and body of the line `Autoid` through the template's views: every body
    // row unmarked, in Sequence order. Sets eipid (the BOM's iautoid) and bCheck (the BOM is
    // approved). A line that is gone or whose BOM the operator may not see fails as a BOM card
    // does ("单据加载失败，请刷新后重试！").
    bool InitVoucher();
    // InitVoucher, then the card handed to objVoucher when there is one.
    bool Load();
    // Load, then the card shown through objVoucher; without a control it is Load.
    bool Show();
    // Saves the card of objVoucher, or rstHead/rstBody without a control; on success the card
    // holds its new keys and versions, both in the control and in rstHead/rstBody.
    bool SaveVoucher();
    // Saves `card` as the options card of `Autoid`: the substitute checks, the required fields,
    // the approved guard, then deletions, additions and changes in one transaction, recorded
    // in the BOM's history. On success `card` holds its new compsubids and versions with its
    // rows unmarked, so that a second save is a modification.
    bool SaveVoucher(bomservice::BomCard& card);

    QString Autoid; // the component line's autoid
    bomservice::RowSet rstHead;
    bomservice::RowSet rstBody;
    QString sErr;
    QString errstr;
    QString VouchId;
    QString sVouchType = QLatin1String(kCardNumber); // the card number the template is read by
    OptVoucherControl* objVoucher = nullptr;         // not owned
    QString sAppName;
    QString svType;
    int iState = 0; // 0 browsing, 1 editing: the window's to keep
    bool bCheck = false;
    QString eipid;
    suite::Login* oLogin = nullptr; // the host's; the session's by default

private:
    struct Line;
    // A save that wrote nothing: `shown` in a style-16 box.
    bool refuse(const QString& reason, const QString& shown);
    bool checkSubstitutes(const bomservice::RowSet& rows, const Line& line);
    bool checkItems(const bomservice::RowSet& rows, const std::vector<int>& live);
    bool writeCard(bomservice::BomCard& card, const Line& line);
    bool claimRows(const bomservice::RowSet& rows);

    entry::Session& session_;
};

} // namespace bom::options
