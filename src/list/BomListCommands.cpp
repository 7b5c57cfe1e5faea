#include "BomListCommands.h"

#include "bomservice/BomHistory.h"
#include "bomservice/BomSaver.h"
#include "bomservice/Guards.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/BomVisibility.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "structure/BomImporter.h"
#include "suite/Prompter.h"

#include <QDateTime>
#include <QXmlStreamWriter>

namespace bom::list {
namespace {

const QString kListTitle = QStringLiteral("物料清单");
const QString kTaskEdit = QStringLiteral("AS001");

struct BatchKey {
    const char* key;
    const char* task;
    bool needsLine; // which component to change, replace or delete must be chosen
};

const BatchKey kBatchKeys[] = {{"batchadd", "AS001A", false},
                               {"batchedit", "AS001E", true},
                               {"batchrepl", "AS001R", true},
                               {"batchdel", "AS001D", true}};

bool isSummaryRow(const ListRow& row) {
    const QString code = row.text(QStringLiteral("cpscode"));
    return code == QStringLiteral("合计") || code == QStringLiteral("小计");
}

std::vector<ListRow> selected(const std::vector<ListRow>& rows) {
    std::vector<ListRow> out;
    for (const ListRow& row : rows)
        if (row.selected)
            out.push_back(row);
    return out;
}

QStringList headerIds(const std::vector<ListRow>& rows) {
    QStringList ids;
    for (const ListRow& row : rows)
        ids << row.text(QStringLiteral("iautoid"));
    return ids;
}

// The line as the deletion log keeps it: <Deleted autoid="…" column="value" … />, the
// columns in list order and named as the list names them.
QString deletedLineText(const ListRow& line) {
    QString text =
        QStringLiteral("<Deleted autoid=\"%1\" ").arg(line.text(QStringLiteral("autoid")));
    for (const QString& column : line.columns)
        text += QStringLiteral("%1=\"%2\" ").arg(column, line.text(column));
    return text + QStringLiteral("/>");
}

} // namespace

BomListCommands::BomListCommands(entry::Session& session, ListView& view, ListHandover& handover)
    : session_(session), view_(view), handover_(handover) {
    if (session_.gConn)
        terms_ = entry::DisplayTerms::load(*session_.gConn);
}

const std::vector<ToolbarKey>& BomListCommands::toolbarKeys() {
    static const std::vector<ToolbarKey> keys{
        {"SetUp", QStringLiteral("设置"), QStringLiteral("打印设置"), 1, {}},
        {"Print", QStringLiteral("打印"), QStringLiteral("打印档案"), 1, {}},
        {"Preview", QStringLiteral("预览"), QStringLiteral("打印预览"), 1, {}},
        {"SaveFile", QStringLiteral("输出"), QStringLiteral("输出文件"), 1, {}},
        {"Import", QStringLiteral("导入"), QStringLiteral("从电子表格导入物料清单"), 1, {}},
        {"Add", QStringLiteral("增加"), QStringLiteral("添加档案(F5)"), 2, {}},
        {"Modify", QStringLiteral("修改"), QStringLiteral("修改档案(F7)"), 2, {}},
        {"Delete", QStringLiteral("删除"), QStringLiteral("删除档案(Del)"), 2, {}},
        {"Copy",
         QStringLiteral("复制"),
         QStringLiteral("复制档案(F8)"),
         2,
         {{"AllCopy", QStringLiteral("全阶复制"), QString(), 2, {}},
          {"AllSingle", QStringLiteral("单阶复制"), QString(), 2, {}}}},
        {"batchDo",
         QStringLiteral("子件批量操作"),
         QString(),
         2,
         {{"batchAdd", QStringLiteral("批量添加"), QString(), 2, {}},
          {"batchEdit", QStringLiteral("批量修改"), QString(), 2, {}},
          {"batchRepl", QStringLiteral("批量替换"), QString(), 2, {}},
          {"batchDel", QStringLiteral("批量删除"), QString(), 2, {}},
          {"batchUndo", QStringLiteral("撤销批量操作"), QString(), 2, {}}}},
        {"Structure",
         QStringLiteral("结构"),
         QStringLiteral("多阶展开、反查、成本卷算和比较"),
         2,
         {}},
        {"AllSelect", QStringLiteral("全选"), QStringLiteral("全部选定"), 3, {}},
        {"AllCancel", QStringLiteral("全消"), QStringLiteral("全部取消"), 3, {}},
        {"Auditing", QStringLiteral("审核"), QStringLiteral("审核"), 3, {}},
        {"DisAudit", QStringLiteral("弃审"), QStringLiteral("弃审"), 3, {}},
        {"StopUse", QStringLiteral("停用"), QStringLiteral("停用"), 3, {}},
        {"Use", QStringLiteral("启用"), QStringLiteral("启用"), 3, {}},
        {"pCopy", QStringLiteral("批增"), QStringLiteral("批量增加"), 3, {}},
        {"pDelete", QStringLiteral("批删"), QStringLiteral("批量删除"), 3, {}},
        {"Filter", QStringLiteral("过滤"), QStringLiteral("过滤(F3)"), 4, {}},
        {"FindSet", QStringLiteral("滤设"), QStringLiteral("过滤设置"), 4, {}},
        {"ColSet", QStringLiteral("栏目"), QStringLiteral("栏目设置"), 4, {}},
        {"Pos", QStringLiteral("定位"), QStringLiteral("定位(Ctrl＋F3)"), 4, {}},
        {"Refresh", QStringLiteral("刷新"), QStringLiteral("刷新档案(F9)"), 4, {}},
        {"Help", QStringLiteral("帮助"), QStringLiteral("操作帮助(F1)"), 5, {}},
        {"Exit", QStringLiteral("退出"), QStringLiteral("退出操作"), 5, {}},
    };
    return keys;
}

const QStringList& BomListCommands::parentMenuKeys() {
    static const QStringList keys{QStringLiteral("Structure")};
    return keys;
}

std::optional<QString> BomListCommands::keyForShortcut(int key, Qt::KeyboardModifiers modifiers) {
    const bool ctrl = modifiers.testFlag(Qt::ControlModifier);
    switch (key) {
    case Qt::Key_F5:
        return QStringLiteral("Add");
    case Qt::Key_F3:
        return ctrl ? QStringLiteral("Pos") : QStringLiteral("Filter");
    case Qt::Key_Delete:
        return QStringLiteral("Delete");
    case Qt::Key_F7:
        return QStringLiteral("Modify");
    case Qt::Key_F8:
        return QStringLiteral("Copy");
    case Qt::Key_P:
        if (ctrl)
            return QStringLiteral("Print");
        return std::nullopt;
    case Qt::Key_F1:
        return QStringLiteral("Help");
    case Qt::Key_F9:
        return QStringLiteral("Refresh");
    default:
        return std::nullopt;
    }
}

bool BomListCommands::claimTask(const QString& code) {
    if (session_.gLogin->TaskExec(code, -1))
        return true;
    session_.ShowInfo(session_.gLogin->ShareString);
    return false;
}

bool BomListCommands::ExecuteCommand(const QString& key) {
    try {
        return RunCommand(key);
    } catch (const db::DbError& e) {
        session_.prompter.info(e.message(), kListTitle, 16);
        return false;
    }
}

bool BomListCommands::RunCommand(const QString& key) {
    const QString k = key.toLower();
    if (k == QLatin1String("setup"))
        view_.printSetup();
    else if (k == QLatin1String("print") || k == QLatin1String("preview"))
        view_.print(k == QLatin1String("preview"));
    else if (k == QLatin1String("savefile"))
        view_.exportList();
    else if (k == QLatin1String("add")) {
        if (!claimTask(kTaskEdit))
            return false;
        handover_.openCard(ListHandover::CardMode::Add, QString());
        session_.gLogin->TaskExec(kTaskEdit, 0);
        view_.reload();
    } else if (k == QLatin1String("modify"))
        return modify();
    else if (k == QLatin1String("delete")) {
        if (!claimTask(kTaskEdit))
            return false;
        bool done = false;
        try {
            done = DeleteCurrent();
        } catch (const db::DbError&) {
            session_.gLogin->TaskExec(kTaskEdit, 0); // a failed delete must not keep the task
            throw;
        }
        session_.gLogin->TaskExec(kTaskEdit, 0);
        return done;
    } else if (k == QLatin1String("copy"))
        return copy(ListHandover::CardMode::Copy);
    else if (k == QLatin1String("allcopy"))
        return copy(ListHandover::CardMode::CopyAllLevels);
    else if (k == QLatin1String("allsingle"))
        return copy(ListHandover::CardMode::CopySingle);
    else if (k == QLatin1String("structure"))
        return structure();
    else if (k == QLatin1String("import"))
        return importFile();
    else if (k.startsWith(QLatin1String("batch")) && k != QLatin1String("batchdo"))
        return batch(k);
    else if (k == QLatin1String("allselect") || k == QLatin1String("allcancel"))
        view_.selectAll(k == QLatin1String("allselect"));
    else if (k == QLatin1String("auditing") || k == QLatin1String("disaudit"))
        return AuditSelected(k == QLatin1String("auditing")) > 0;
    else if (k == QLatin1String("stopuse"))
        return StopSelected() > 0;
    else if (k == QLatin1String("use"))
        return EnableSelected() > 0;
    else if (k == QLatin1String("pcopy") || k == QLatin1String("pdelete"))
        return colourSize(k == QLatin1String("pcopy") ? QStringLiteral("pCopy")
                                                      : QStringLiteral("pDelete"));
    else if (k == QLatin1String("filter"))
        view_.filter();
    else if (k == QLatin1String("findset"))
        view_.filterSettings();
    else if (k == QLatin1String("colset"))
        view_.columnSettings();
    else if (k == QLatin1String("pos"))
        view_.locate();
    else if (k == QLatin1String("refresh"))
        view_.reload();
    else if (k == QLatin1String("help"))
        view_.help();
    else if (k == QLatin1String("exit"))
        view_.close();
    return true;
}

bool BomListCommands::headerExists(const QString& headerId) {
    return !session_.gConn
                ->query(QStringLiteral("select iautoid from ProductStructure where iAutoId=?"),
                        {headerId})
                .empty();
}

bool BomListCommands::modify() {
    if (!claimTask(kTaskEdit))
        return false;
    const auto row = view_.currentParent();
    bool opened = false;
    if (!row) {
        session_.ShowInfo(QStringLiteral("请选中修改行！"));
    } else if (!row->text(QStringLiteral("ccheck")).isEmpty()) {
        session_.ShowInfo(QStringLiteral("审核过的产品不可修改！"));
    } else {
        const QString id = row->text(QStringLiteral("iautoid"));
        const bool goOn = !entry::VoucherHelpers::IsSharedBom(*session_.gConn, id) ||
                          session_.prompter.ask(QStringLiteral("该母件是公用件，是否继续？"),
                                                kListTitle, 4) == suite::Prompter::Answer::Yes;
        if (goOn && !headerExists(id)) {
            session_.ShowInfo(QStringLiteral("当前选中的") + terms_.parent +
                              QStringLiteral("已被删除或停用！"));
        } else if (goOn) {
            handover_.openCard(ListHandover::CardMode::Modify, id);
            opened = true;
        }
    }
    session_.gLogin->TaskExec(kTaskEdit, 0);
    if (opened || row)
        view_.reload();
    return opened;
}

bool BomListCommands::copy(ListHandover::CardMode mode) {
    if (!claimTask(kTaskEdit))
        return false;
    const auto row = view_.currentParent();
    if (row)
        handover_.openCard(mode, row->text(QStringLiteral("iautoid")));
    else
        session_.ShowInfo(QStringLiteral("请选中修改行！"));
    session_.gLogin->TaskExec(kTaskEdit, 0);
    view_.reload();
    return row.has_value();
}

bool BomListCommands::structure() {
    const auto row = view_.currentParent();
    if (!row) {
        session_.ShowInfo(QStringLiteral("请选中修改行！"));
        return false;
    }
    handover_.openStructure(row->text(QStringLiteral("iautoid")));
    return true;
}

bool BomListCommands::importFile() {
    if (!claimTask(kTaskEdit))
        return false;
    const QString path = view_.chooseImportFile();
    bool done = false;
    try {
        done = !path.isEmpty() && structure::BomImporter(session_).ImportAsked(path);
    } catch (const db::DbError&) {
        session_.gLogin->TaskExec(kTaskEdit, 0);
        throw;
    }
    session_.gLogin->TaskExec(kTaskEdit, 0);
    if (done)
        view_.reload();
    return done;
}

bool BomListCommands::DeleteCurrent() {
    if (view_.componentListActive()) {
        const auto line = view_.currentLine();
        return line && deleteLine(*line);
    }
    const auto row = view_.currentParent();
    if (!row) {
        session_.ShowInfo(QStringLiteral("请选中修改行！"));
        return false;
    }
    if (!row->text(QStringLiteral("ccheck")).isEmpty()) {
        session_.ShowInfo(QStringLiteral("审核过的产品不可删除！"));
        return false;
    }
    if (entry::VoucherHelpers::TextToBool(row->text(QStringLiteral("bmrcbbom")))) {
        session_.prompter.info(QStringLiteral("该物料清单是默认成本BOM，不能删除！"),
                               QStringLiteral("错误"), 16);
        return false;
    }
    if (!headerExists(row->text(QStringLiteral("iautoid")))) {
        session_.ShowInfo(QStringLiteral("当前选中的") + terms_.parent +
                          QStringLiteral("已被删除！"));
        return false;
    }
    return deleteBom(*row);
}

bool BomListCommands::deleteBom(const ListRow& row) {
    const QString question = QStringLiteral("确信删除该") + terms_.parent + QStringLiteral("为 '") +
                             row.text(QStringLiteral("cpspcode")) +
                             QStringLiteral("' 的档案？\r\n若删除则其相应的") + terms_.component +
                             QStringLiteral("档案将全部删除！");
    if (session_.prompter.ask(question, QStringLiteral("警告信息"), 52) !=
        suite::Prompter::Answer::Yes)
        return false;
    const QString id = row.text(QStringLiteral("iautoid"));
    if (!session_.gPub->DeleteStart(*session_.gLogin, QStringLiteral("ProductStructure"), id))
        return false;
    const bool done = db::TransactionRetry::run(*session_.gConn, [&] {
        db::Transaction tx(*session_.gConn);
        const bool removed = bomservice::BomGuards(session_).RemoveStoredBom(id);
        if (removed)
            tx.commit();
        return removed;
    });
    session_.gPub->DeleteEnded(*session_.gLogin, QStringLiteral("ProductStructure"), id);
    if (!done)
        session_.ShowInfo(QStringLiteral("当前选中的") + terms_.parent +
                          QStringLiteral("已被删除！"));
    view_.reload();
    return done;
}

bool BomListCommands::deleteLine(const ListRow& line) {
    const QString component = line.text(QStringLiteral("cpscode"));
    if (component.isEmpty())
        return false;
    if (view_.lineCount() == 1) {
        session_.ShowInfo(QStringLiteral("一个") + terms_.parent + QStringLiteral("必须有一个") +
                          terms_.component + QStringLiteral("，不可再删除！"));
        return false;
    }
    const QString question = QStringLiteral("确信删除该") + terms_.component +
                             QStringLiteral("编码为'") + component + QStringLiteral("'的档案？");
    if (session_.prompter.ask(question, QStringLiteral("警告信息"), 52) !=
        suite::Prompter::Answer::Yes)
        return false;
    const QVariant autoid = line.cells.value(QStringLiteral("autoid"));
    if (!session_.gPub->DeleteStart(*session_.gLogin, QStringLiteral("ProductStructures"),
                                    autoid.toString()))
        return false;
    const bool done =
        db::TransactionRetry::run(*session_.gConn, [&] { return removeLine(line, autoid); });
    session_.gPub->DeleteEnded(*session_.gLogin, QStringLiteral("ProductStructures"),
                               autoid.toString());
    view_.reloadLines();
    return done;
}

bool BomListCommands::removeLine(const ListRow& line, const QVariant& autoid) {
    db::Database& db = *session_.gConn;
    db::Transaction tx(db);
    const db::Rows found = db.query(
        QStringLiteral("select ipid, cpspcode, cpscode from ProductStructures where autoid=?"),
        {autoid});
    if (found.empty())
        return false;
    const QString headerId = found.text(0, "ipid");
    const QString parent = found.text(0, "cpspcode");
    // The BOM has changed: its version moves on, so that a card loaded before, or the undo of
    // a run that changed this line, cannot write over the deletion unseen.
    db.exec(QStringLiteral("update ProductStructure set qzts=qzts where iautoid=?"), {headerId});
    bomservice::BomHistory history(db);
    const auto removal = history.lineRemoval(autoid);
    db.exec(QStringLiteral("delete from ProstruOpt where autoid=?"), {autoid});
    db.exec(QStringLiteral("delete from ProductStructures where autoid=?"), {autoid});
    bomservice::BomSaver(session_).LinesChanged({parent});
    if (removal)
        history.record(headerId, session_.gUserId, {*removal});
    entry::BomVisibility(db).RefreshBoms({headerId});
    writeDeletionLog(line);
    tx.commit();
    return true;
}

void BomListCommands::writeDeletionLog(const ListRow& line) {
    db::Database& db = *session_.gConn;
    // The log is kept apart: if a piece fails, the log goes and the deletion stands.
    try {
        db::Transaction log(db);
        const QVariant id = db.insertReturning(
            QStringLiteral(
                "insert into vouchlog(cCardNum,cVouchCode,cUserId,iRow,cOperation,dTime) "
                "values('pp30',?,?,?,'D',?) RETURNING autoid"),
            {line.text(QStringLiteral("ipid")), session_.gLogin->cUserId, line.number,
             QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))});
        const QString text = deletedLineText(line);
        constexpr int kPiece = 1000;
        for (int start = 0, no = 1; start < text.size(); start += kPiece, ++no)
            db.exec(QStringLiteral("insert into vouchlogs(autoid,cData,iNo) values(?,?,?)"),
                    {id, text.mid(start, kPiece), no});
        log.commit();
    } catch (const db::DbError& e) {
        qWarning("deletion log not written: %s", qPrintable(e.message()));
    }
}

int BomListCommands::AuditSelected(bool approve) {
    QString xml;
    QXmlStreamWriter writer(&xml);
    writer.writeStartElement(QStringLiteral("data"));
    int count = 0;
    for (const ListRow& row : view_.parentRows()) {
        const bool approved = !row.text(QStringLiteral("ccheck")).isEmpty();
        if (!row.selected || approved == approve)
            continue;
        writer.writeStartElement(QStringLiteral("ProductStructure"));
        writer.writeTextElement(QStringLiteral("iAutoID"), row.text(QStringLiteral("iautoid")));
        writer.writeTextElement(QStringLiteral("cCheck"), approve ? session_.gUserName : QString());
        writer.writeTextElement(QStringLiteral("OptAudit"), QString());
        writer.writeEndElement();
        ++count;
    }
    writer.writeEndElement();
    session_.ShowInfo((approve ? QStringLiteral("本次共审核 '") : QStringLiteral("本次共弃审 '")) +
                      QString::number(count) + QStringLiteral("' 条") + terms_.parent +
                      QStringLiteral("记录！"));
    if (count > 0) {
        QString error;
        if (!session_.gClsCommon->Modify(xml, QStringLiteral("ProductStructure"), error)) {
            session_.ShowInfo(error);
            count = 0;
        }
    }
    view_.reload();
    return count;
}

int BomListCommands::StopSelected() {
    db::Database& db = *session_.gConn;
    // Refusals are collected and shown after the commit, so no message box waits inside the
    // transaction; they keep their row order.
    struct Refusal {
        QString text;
        QString title;
        int style;
    };
    std::vector<Refusal> refusals;
    const std::vector<ListRow> rows = selected(view_.parentRows());
    const int count = db::TransactionRetry::run(db, [&] {
        refusals.clear();
        int stopped = 0;
        db::Transaction tx(db);
        bomservice::BomGuards(session_).LockBoms(headerIds(rows));
        for (const ListRow& row : rows) {
            const QString id = row.text(QStringLiteral("iautoid"));
            const db::Rows flag = db.query(
                QStringLiteral("select bMRCBBOM from ProductStructure where iAutoId=?"), {id});
            if (flag.empty()) {
                refusals.push_back(
                    {QStringLiteral("当前选中的") + terms_.parent + QStringLiteral("已被删除！"),
                     QStringLiteral("提示信息"), 64});
            } else if (flag.value(0, "bMRCBBOM").toInt() == 1) {
                refusals.push_back(
                    {QStringLiteral("序号%1物料清单是默认成本BOM，不能停用！").arg(row.number),
                     QStringLiteral("错误"), 16});
            } else if (db.scalar(QStringLiteral("select count(*) a from productstructures where "
                                                "childguid=?"),
                                 {id})
                           .toInt() > 0) {
                refusals.push_back({row.text(QStringLiteral("cpspcode")) +
                                        QStringLiteral("是其他物料清单的子项，不可以停用"),
                                    kListTitle, 0});
            } else {
                db.exec(QStringLiteral("update productstructure set bstopflag=1 where iAutoId=?"),
                        {id});
                ++stopped;
            }
        }
        tx.commit();
        return stopped;
    });
    for (const Refusal& r : refusals)
        session_.prompter.info(r.text, r.title, r.style);
    session_.prompter.info(QStringLiteral("停用 %1条记录 ！").arg(count),
                           QStringLiteral("消息提示"), 0);
    view_.reload();
    return count;
}

int BomListCommands::EnableSelected() {
    db::Database& db = *session_.gConn;
    const std::vector<ListRow> rows = selected(view_.parentRows());
    const int count = db::TransactionRetry::run(db, [&] {
        int enabled = 0;
        db::Transaction tx(db);
        bomservice::BomGuards(session_).LockBoms(headerIds(rows));
        for (const ListRow& row : rows)
            enabled += db.exec(QStringLiteral("update productstructure set bstopflag=0 where "
                                              "iAutoId=?"),
                               {row.text(QStringLiteral("iautoid"))}) > 0;
        tx.commit();
        return enabled;
    });
    session_.prompter.info(QStringLiteral("启用 %1条记录 ！").arg(count),
                           QStringLiteral("消息提示"), 0);
    view_.reload();
    return count;
}

bool BomListCommands::CheckColorSize() {
    const db::Rows rows = session_.gConn->query(
        QStringLiteral("select count(cid) as icount from userdef where citem like '自由项%' and "
                       "(citemname='颜色' or citemname='尺码')"));
    if (!rows.empty() && rows.value(0, "icount").toInt() == 2)
        return true;
    session_.prompter.info(QStringLiteral("服装版帐套必须设置颜色和尺码自由项才可以操作！"),
                           kListTitle, 0);
    return false;
}

bool BomListCommands::colourSize(const QString& mode) {
    if (!CheckColorSize())
        return false;
    const auto row = view_.currentParent();
    if (!row) {
        session_.ShowInfo(QStringLiteral("请选中修改行！"));
        return false;
    }
    if (mode == QLatin1String("pCopy") &&
        entry::VoucherHelpers::TextToBool(row->text(QStringLiteral("bstopflag")))) {
        session_.ShowInfo(QStringLiteral("当前所选记录为［停用］状态，不可使用批增按钮！"));
        return false;
    }
    handover_.openColourSize(mode, *row);
    view_.reload();
    return true;
}

bool BomListCommands::batch(const QString& key) {
    // Undo needs no selection: the runs name their BOMs, and each undo checks them itself.
    if (key == QLatin1String("batchundo")) {
        handover_.openBatchRuns();
        view_.reload();
        return true;
    }
    const auto found = std::find_if(std::begin(kBatchKeys), std::end(kBatchKeys),
                                    [&](const BatchKey& b) { return key == QLatin1String(b.key); });
    if (found == std::end(kBatchKeys))
        return false;
    const QString task = QLatin1String(found->task);
    if (!claimTask(task))
        return false;
    const std::vector<ListRow> parents = selected(view_.parentRows());
    std::vector<ListRow> lines;
    for (const ListRow& line : view_.selectedLines())
        if (!isSummaryRow(line))
            lines.push_back(line);
    bool opened = false;
    if (parents.empty())
        session_.ShowInfo(QStringLiteral("请在批量操作前选择操作母件！"));
    else if (found->needsLine && lines.empty())
        session_.ShowInfo(QStringLiteral("请在批量操作前选择要操作的子件！"));
    else {
        handover_.openBatch(QLatin1String(found->key), parents, lines);
        opened = true;
    }
    session_.gLogin->TaskExec(task, 0);
    if (opened)
        view_.reload();
    return opened;
}

void BomListCommands::UpdateDecimalPlaces() {
    using entry::Session;
    struct Statement {
        const char* table;
        int Session::*digits; // null: a fixed figure
        int fixed;
        const char* condition;
    };
    static const Statement statements[] = {
        {"voucheritems", &Session::gQuanDigits, 0, "cardnum='pp30' and fieldname='ipsquantity'"},
        {"voucheritems", &Session::gNumDigits, 0, "cardnum='pp30' and fieldname='unitqty'"},
        {"voucheritems", &Session::gRateDigits, 0, "cardnum='pp30' and fieldname='iprodchangrate'"},
        {"voucheritems", nullptr, 2,
         "cardnum='pp30' and fieldname in ('fqmzcpzzfy','fqmzcprgcb','fqmzcpwlcb')"},
        {"voucheritems", &Session::gPriceDigits, 0,
         "cardnum='pp30' and fieldname in ('fbzwlcb','fbzcb','fbzzfy','fbzrgcb')"},
        {"voucheritems", &Session::gQuanDigits, 0,
         "cardnum='pp30' and fieldname='tdqtyd' and cardsection='B'"},
        {"voucheritems", &Session::gPriceDigits, 0,
         "cardnum='pp30' and fieldname='fbzdj' and cardsection='B'"},
        {"voucheritems", &Session::gQuanDigits, 0, "cardnum='pp31' and fieldname='ipsquantity'"},
        {"voucheritems", &Session::gNumDigits, 0, "cardnum='pp31' and fieldname='unitqty'"},
        {"voucheritems", &Session::gRateDigits, 0, "cardnum='pp31' and fieldname='iprodchangrate'"},
        {"voucheritems", &Session::gQuanDigits, 0, "cardnum='pp31' and fieldname='tdqtyn'"},
        {"voucheritems", &Session::gQuanDigits, 0,
         "cardnum='pp31' and fieldname='tdqtyd' and cardsection='B'"},
        {"voucheritems", &Session::gQuanDigits, 0,
         "cardnum='pp31' and fieldname='tdqtyd' and cardsection='T'"},
        {"voucheritems", nullptr, 0, "cardnum='pp31' and fieldname='sequence'"},
        {"voucheritems_prn", &Session::gQuanDigits, 0,
         "cardnum='pp31' and fieldname in('ipsquantity','tdqtyd','unitqty')"},
        {"voucheritems_prn", &Session::gRateDigits, 0,
         "cardnum='pp31' and fieldname='iprodchangrate'"},
        {"voucheritems", &Session::gQuanDigits, 0,
         "cardnum in ('pp30','pp31') and fieldname in "
         "('cinvdefine13','cinvdefine14','cdefine7','cdefine16','cdefine26','cdefine27')"},
        {"voucheritems_prn", &Session::gQuanDigits, 0,
         "cardnum in ('pp30','pp31') and fieldname in "
         "('cinvdefine13','cinvdefine14','cdefine7','cdefine16','cdefine26','cdefine27')"},
    };
    for (const Statement& s : statements) {
        const int digits = s.digits ? session_.*(s.digits) : s.fixed;
        try {
            session_.gConn->exec(QStringLiteral("update %1 set NumPoint=? where %2")
                                     .arg(QLatin1String(s.table), QLatin1String(s.condition)),
                                 {digits});
        } catch (const db::DbError& e) {
            // The list opens all the same; the card just keeps its former places.
            qWarning("decimal places not updated: %s", qPrintable(e.message()));
        }
    }
}

} // namespace bom::list
