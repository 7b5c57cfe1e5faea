#include "BatchEditor.h"

#include "BatchTexts.h"
#include "bomservice/BomAccess.h"
#include "bomservice/CycleCheck.h"
#include "bomservice/LineDescriber.h"
#include "db/BoundList.h"
#include "db/Database.h"
#include "db/DbError.h"
#include "db/Transaction.h"
#include "db/TransactionRetry.h"
#include "entry/Session.h"
#include "entry/VoucherHelpers.h"
#include "suite/Prompter.h"

#include <QSet>

namespace bom::batch {
namespace {

const QString kYes = QStringLiteral("是");

// The parents that would loop, broken into lines of 50 characters (100 for a long list).
QString cycleList(const QStringList& parents) {
    const QString all = parents.join(QLatin1Char(','));
    const int width = all.size() > 500 ? 100 : 50;
    QStringList lines;
    for (int at = 0; at < all.size(); at += width)
        lines << all.mid(at, width);
    return lines.join(QStringLiteral("\r\n"));
}

} // namespace

BatchEditor::BatchEditor(entry::Session& session)
    : session_(session), fields_(std::make_unique<BatchFields>(session)) {}

BatchEditor::~BatchEditor() = default;

void BatchEditor::show(const QString& text, int style) {
    session_.prompter.info(text, BatchTexts::title(), style);
}

QString BatchEditor::caption() const {
    const QString caption = BatchTexts::caption(int(scope_.operation));
    return componentKey_.isEmpty() ? caption : componentKey_ + QStringLiteral("--") + caption;
}

bool BatchEditor::InitBatch(int operation, const QString& selectedBoms,
                            const QString& componentKey) {
    if (operation < 0 || operation > 3)
        return false;
    componentKey_ = componentKey.trimmed();
    return InitBatch(Operation(operation), BatchScope::splitBomList(selectedBoms),
                     BatchScope::parseComponentKey(componentKey));
}

bool BatchEditor::InitBatch(Operation operation, const QStringList& boms,
                            const entry::BomIdentity& component) {
    scope_.operation = operation;
    scope_.boms.clear();
    QSet<QString> seen;
    for (const QString& given : boms) {
        const QString id = given.trimmed();
        if (!id.isEmpty() && !seen.contains(id)) {
            seen.insert(id);
            scope_.boms << id;
        }
    }
    scope_.component = operation == Operation::Add ? entry::BomIdentity{} : component.trimmed();
    if (componentKey_.isEmpty() && operation != Operation::Add)
        componentKey_ = BatchScope::componentKey(scope_.component);
    fields_ = std::make_unique<BatchFields>(session_);
    lineDescription_.clear();
    currentLine_ = db::Rows();
    if (operation == Operation::Add)
        return true;
    try {
        // The line as it stands in the first selected BOM that has it, among those the
        // operator may see.
        db::Database& db = *session_.gConn;
        std::vector<BatchSkip> ignored;
        const QStringList visible =
            BatchPlanner(session_, scope_, *fields_).candidates(ignored, false);
        const db::SqlCondition sql =
            db::sqlText(QStringLiteral("select * from ProductStructures where ")) +
            db::BoundList::in(db.dialect(), QStringLiteral("ipid"), visible) +
            db::sqlText(QStringLiteral(" and ")) +
            scope_.component.matches(QStringLiteral("cpscode")) +
            db::sqlText(QStringLiteral(" order by autoid LIMIT 1"));
        currentLine_ = db.query(sql.sql, sql.params);
        if (!currentLine_.empty()) {
            bomservice::LineDescriber describer(session_);
            describer.learn(currentLine_, {&currentLine_.at(0)});
            lineDescription_ = describer.describe(currentLine_, currentLine_.at(0));
        }
        if (operation == Operation::Modify) {
            if (currentLine_.empty()) {
                show(BatchTexts::lineNotInScope(), 48);
                return false;
            }
            fields_->setCurrentItem(scope_.component.code);
        }
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(BatchTexts::failed(e.message()), 16);
        return false;
    }
    return true;
}

std::optional<entry::BomIdentity> BatchEditor::LineIdentity(db::Database& db, qlonglong autoid) {
    const db::Rows line = db.query(
        QStringLiteral("select cpscode, csocode, cfree1, cfree2, cfree3, cfree4, cfree5, cfree6, "
                       "cfree7, cfree8, cfree9, cfree10 from ProductStructures where autoid=?"),
        {autoid});
    if (line.empty())
        return std::nullopt;
    entry::BomIdentity component{line.text(0, "cpscode"), line.text(0, "csocode"), {}};
    for (int n = 1; n <= 10; ++n)
        component.free[std::size_t(n - 1)] = line.text(0, QStringLiteral("cfree%1").arg(n));
    return component.trimmed();
}

QString BatchEditor::CheckValue(const QString& name, const QString& value) {
    const auto refusal = fields_->enter(name.trimmed().toLower(), value);
    return refusal ? refusal->text : QString();
}

bool BatchEditor::EnterValue(const QString& name, const QString& value) {
    const QString field = name.trimmed().toLower();
    const auto refusal = fields_->enter(field, value);
    if (!refusal)
        return true;
    show(refusal->text, refusal->style);
    fields_->clear(field);
    return false;
}

std::optional<entry::ReferenceQuery> BatchEditor::reference(const QString& name,
                                                            const QString& typed) {
    const QString field = name.trimmed().toLower();
    try {
        if (field != QLatin1String("csocode"))
            return entry::ReferenceLookup(session_).ShowRef(field, typed);
        db::Database& db = *session_.gConn;
        entry::ReferenceQuery query;
        query.key = QStringLiteral("PP_BomSoCodeRef");
        query.table = QStringLiteral("ProductStructure");
        query.select =
            db::sqlText(QStringLiteral("select distinct csocode as \"%1\" from ProductStructure "
                                       "where COALESCE(csocode,'')<>'' and cpspcode in (select "
                                       "cpspcode from ProductStructure where ")
                            .arg(BatchTexts::salesOrderCaption())) +
            db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), scope_.boms) +
            db::SqlCondition{QStringLiteral(") and csocode like ?"),
                             {QLatin1Char('%') + typed.trimmed() + QLatin1Char('%')}};
        query.orderBy = QStringLiteral(" order by 1");
        return query;
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(BatchTexts::failed(e.message()), 16);
        return std::nullopt;
    }
}

entry::BomIdentity BatchEditor::newComponent() const {
    entry::BomIdentity component{
        fields_->text(QStringLiteral("cpscode")), fields_->text(QStringLiteral("csocode")), {}};
    for (int n = 1; n <= 10; ++n)
        component.free[std::size_t(n - 1)] = fields_->text(QStringLiteral("cfree%1").arg(n));
    return component.trimmed();
}

// The component's own BOM may not be stopped, and a made component is never substituted.
bool BatchEditor::checkStoppedAndMade(const entry::BomIdentity& component) {
    db::Database& db = *session_.gConn;
    const db::SqlCondition own =
        db::sqlText(QStringLiteral("select COALESCE(bStopFlag,0) from ProductStructure where ")) +
        component.matches(QStringLiteral("cpspcode")) + db::sqlText(QStringLiteral(" LIMIT 1"));
    const db::Rows stopped = db.query(own.sql, own.params);
    if (!stopped.empty() && stopped.at(0).at(0).toInt() == 1) {
        show(BatchTexts::componentStopped(), 64);
        return false;
    }
    if (fields_->replaceFlag() == 1 && !stopped.empty()) {
        show(BatchTexts::madeNotSubstituted(), 48);
        return false;
    }
    return true;
}

// The add branch's checks, which replace runs too (without the numerator).
bool BatchEditor::checkComponent(bool numerator) {
    if (!fields_->has(QStringLiteral("cpscode")) || !fields_->has(QStringLiteral("cwhcode"))) {
        show(BatchTexts::itemAndWarehouseRequired(), 48);
        return false;
    }
    fields_->set(QStringLiteral("iwasterate"),
                 QString::number(fields_->number(QStringLiteral("iwasterate")).value_or(0)));
    // The parents of the selected BOMs, as the list handed them over.
    db::Database& db = *session_.gConn;
    const db::SqlCondition selected =
        db::sqlText(QStringLiteral("select distinct cpspcode from ProductStructure where ")) +
        db::BoundList::in(db.dialect(), QStringLiteral("iautoid"), scope_.boms);
    const db::Rows parents = db.query(selected.sql, selected.params);
    QStringList codes;
    for (std::size_t i = 0; i < parents.size(); ++i)
        codes << parents.text(i, "cpspcode");
    const QStringList looping =
        bomservice::CycleCheck(*session_.gConn, session_.prompter)
            .ParentsClosingCycle(fields_->text(QStringLiteral("cpscode")), codes);
    if (!looping.isEmpty()) {
        show(BatchTexts::cycleWith() + QStringLiteral("\r\n") + cycleList(looping), 48);
        return false;
    }
    if (!checkStoppedAndMade(newComponent()))
        return false;
    if (numerator && fields_->number(QStringLiteral("ipsquantity")).value_or(0) == 0) {
        show(BatchTexts::numeratorRequired(), 48);
        return false;
    }
    return true;
}

bool BatchEditor::CheckSave() {
    databaseFailed_ = false;
    try {
        switch (scope_.operation) {
        case Operation::Add:
            return checkComponent(true);
        case Operation::Replace:
            if (!fields_->has(QStringLiteral("multiplier")))
                fields_->set(QStringLiteral("multiplier"), QStringLiteral("1"));
            return checkComponent(false);
        case Operation::Modify: {
            const bool numerator = fields_->has(QStringLiteral("ipsquantity"));
            const bool denominator = fields_->has(QStringLiteral("tdqtyd"));
            if (numerator != denominator) {
                if (session_.prompter.ask(BatchTexts::bothQuantities(), BatchTexts::title(), 4) !=
                    suite::Prompter::Answer::Yes)
                    return false;
                fields_->clear(QStringLiteral("ipsquantity"));
                fields_->clear(QStringLiteral("tdqtyd"));
            }
            return checkStoppedAndMade(scope_.component);
        }
        case Operation::Delete:
            return true;
        }
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(BatchTexts::failed(e.message()), 16);
    }
    return false;
}

std::optional<BatchPlan> BatchEditor::Preview() {
    if (!CheckSave())
        return std::nullopt;
    try {
        BatchPlan plan = BatchPlanner(session_, scope_, *fields_).plan(false, true);
        if (scope_.operation == Operation::Modify && plan.written.isEmpty()) {
            show(BatchTexts::nothingToModify(), 48);
            return std::nullopt;
        }
        return plan;
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(BatchTexts::failed(e.message()), 16);
        return std::nullopt;
    }
}

QString BatchEditor::description() const {
    QString text = BatchScope::componentKey(scope_.component);
    if (scope_.operation == Operation::Add || scope_.operation == Operation::Replace)
        text += (text.isEmpty() ? QString() : QStringLiteral(" -> ")) +
                BatchScope::componentKey(newComponent());
    return text;
}

std::optional<BatchEditor::Result> BatchEditor::Save(const Progress& progress) {
    if (!CheckSave())
        return std::nullopt;
    Result result;
    BatchPlan plan;
    db::Database& db = *session_.gConn;
    try {
        const bool planned = db::TransactionRetry::run(db, [&] {
            db::Transaction tx(db);
            const QString setup = db.dialect().longTransactionSetup();
            if (!setup.isEmpty())
                db.exec(setup);
            // Worked out again under the lock of the selected BOMs: what is written is what
            // they hold now.
            plan = BatchPlanner(session_, scope_, *fields_).plan(true, false);
            if (scope_.operation == Operation::Modify && plan.written.isEmpty())
                return false;
            if (!plan.empty()) {
                result.run = BatchWriter(session_, *fields_).write(plan, description(), progress);
                result.versions = bomservice::BomRuns(session_).Versions(result.run);
                tx.commit();
            }
            return true;
        });
        if (!planned) {
            show(BatchTexts::nothingToModify(), 48);
            return std::nullopt;
        }
    } catch (const BatchWriter::Cancelled&) {
        result.cancelled = true;
        result.run = 0;
        return result;
    } catch (const db::DbError& e) {
        databaseFailed_ = true;
        show(BatchTexts::failed(e.message()), 16);
        return std::nullopt;
    }
    result.changed = plan.changedBoms();
    result.skipped = plan.skipped;
    // The run's messages come once the BOMs are free again.
    switch (scope_.operation) {
    case Operation::Add:
        if (plan.skippedFor(QStringLiteral("duplicate")))
            show(BatchTexts::duplicate(), 64);
        if (!plan.empty())
            show(BatchTexts::added(), 64);
        break;
    case Operation::Delete:
        if (plan.skippedFor(QStringLiteral("only-line")))
            show(BatchTexts::onlyLine(), 64);
        if (!plan.empty())
            show(BatchTexts::deleted(), 64);
        break;
    case Operation::Modify:
        if (!plan.empty())
            show(BatchTexts::modified(), 64);
        break;
    case Operation::Replace:
        if (!plan.empty())
            show(BatchTexts::replaced(), 64);
        break;
    }
    return result;
}

} // namespace bom::batch
