#include "DemoSessionTest.h"

#include "bomservice/BomCardLoader.h"
#include "bomservice/BomSaver.h"
#include "suite/PublicService.h"

namespace bom::test {

void DemoSessionTest::SetUp() {
    BackendTest::SetUp();
    suite::PublicService::setFunctionLockShared(*account->createDemo(), true);
    session = std::make_unique<TestSession>(account->url(), QStringLiteral("demo"));
}

void DemoSessionTest::TearDown() {
    session.reset();
    BackendTest::TearDown();
}

QString DemoSessionTest::idOf(const char* parent, const char* salesOrder) {
    return db()
        .scalar(QStringLiteral("SELECT iautoid FROM ProductStructure WHERE cpspcode=? AND "
                               "COALESCE(csocode,'')=? AND cfree1 IS NULL"),
                {QLatin1String(parent), QLatin1String(salesOrder ? salesOrder : "")})
        .toString();
}

bomservice::BomCard DemoSessionTest::load(const QString& id) {
    bomservice::BomCardLoader loader(s());
    return *loader.LoadBom(*loader.LoadTemplate(QStringLiteral("PP30")), id);
}

bool DemoSessionTest::save(bomservice::BomCard& card, int mode) {
    QString result, error;
    return bomservice::BomSaver(s()).SaveBom(card, QStringLiteral("PP30"), mode, result, error);
}

void DemoSessionTest::addLine(bomservice::BomCard& card, const QString& component) {
    const int row = card.lines.appendRow();
    card.lines.setValue(row, QStringLiteral("cpscode"), component);
    card.lines.setValue(row, QStringLiteral("ipsquantity"), 1.0);
    card.lines.setValue(row, QStringLiteral("tdqtyd"), 1.0);
    card.lines.setEditprop(row, QStringLiteral("A"));
}

} // namespace bom::test
