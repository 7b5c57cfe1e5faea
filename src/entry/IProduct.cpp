#include "IProduct.h"

#include "BomVisibility.h"
#include "ListWindowHandle.h"
#include "db/DbError.h"
#include "suite/Prompter.h"

namespace bom::entry {

IProduct::IProduct(suite::Prompter& prompter, ListWindowFactory& windows)
    : session_(prompter), windows_(windows) {}

IProduct::~IProduct() {
    if (session_.gListForm) {
        ListWindowUnload();
        FrmUnload();
    }
}

void IProduct::Show(suite::Login* oLogin) {
    Session& s = session_;
    if (s.gListForm) {
        s.gListForm->raise();
        return;
    }
    s.gLogin = oLogin;
    if (!s.gLogin) {
        s.ShowInfo(QStringLiteral("没有传入Login对象！"));
        return;
    }
    s.gClsCommon = std::make_unique<suite::ConnectionService>();
    s.gClsCommon->Init(s.gLogin->QzDbName);
    if (!s.gClsCommon->Status()) {
        s.ShowInfo(QStringLiteral("数据库连接失败！\r\n请检查数据库连接！"));
        return;
    }
    s.gDbName = s.gLogin->QzDbName;
    s.gUserId = s.gLogin->cUserId;
    s.gUserName = s.gLogin->cUserName;

    s.gColSet = std::make_unique<suite::ColumnSettings>();
    if (!s.gColSet->Init(s.gDbName, s.gUserId)) {
        s.ShowInfo(QStringLiteral("创建栏目设置对象失败！"));
        return;
    }
    s.gRowAuth = std::make_unique<suite::RowAuth>();
    if (!s.gRowAuth->Init(s.gLogin->QzDbName, s.gLogin->cUserId)) {
        s.ShowInfo(QStringLiteral("创建权限对象失败！"));
        return;
    }
    LoadAuthStrings();
    if (!s.gPub)
        s.gPub = std::make_unique<suite::PublicService>(s.prompter);

    const QString functionKey = QLatin1String(Session::kFunctionKey);
    if (!s.gPub->IsLockFun(*s.gClsCommon, *s.gLogin, functionKey, 1))
        return;

    QString sFuncText;
    s.gPub->Find(*s.gLogin, QStringLiteral("物料清单"), this, sFuncText);
    s.gListForm = windows_.create(s);
    if (sFuncText.trimmed().isEmpty()) {
        s.gPub->IsLockFun(*s.gClsCommon, *s.gLogin, functionKey, -1);
        s.gListForm->dispose();
        s.gListForm = nullptr;
        return;
    }
    s.gListForm->setFuncText(sFuncText);
    try {
        if (s.OpenConnection())
            BomVisibility(*s.gConn).EnsureCurrent(s.gUserId);
    } catch (const db::DbError& e) {
        // The list still opens; it shows what the rights allowed when last worked out.
        s.ShowInfo(QStringLiteral("权限数据更新失败：") + e.message());
    }
    s.gListForm->onUnload = [this] {
        ListWindowUnload();
        FrmUnload();
    };
    s.gListForm->show();
}

void IProduct::releaseFunctionLock() {
    Session& s = session_;
    if (s.gClsCommon && s.gPub && s.gLogin)
        s.gPub->IsLockFun(*s.gClsCommon, *s.gLogin, QLatin1String(Session::kFunctionKey), -1);
}

void IProduct::ListWindowUnload() {
    Session& s = session_;
    if (s.gClsCommon)
        releaseFunctionLock();
    s.gPub.reset();
    s.gRowAuth.reset();
    s.gColSet.reset();
    if (s.gLogin)
        s.gLogin->ShutDown();
    s.gLogin = nullptr;
    s.gClsCommon.reset();
    if (s.gListForm) {
        s.gListForm->dispose();
        s.gListForm = nullptr;
    }
}

void IProduct::FrmUnload() {
    Session& s = session_;
    if (s.gClsCommon)
        releaseFunctionLock();
    s.gPub.reset();
    s.gRowAuth.reset();
    s.gColSet.reset();
    s.gLogin = nullptr;
    s.gClsCommon.reset();
}

void IProduct::LoadAuthStrings() {
    // Made when first read (Session::gAuthInventory …), from the rights just loaded.
    session_.resetAuthTexts();
}

} // namespace bom::entry
