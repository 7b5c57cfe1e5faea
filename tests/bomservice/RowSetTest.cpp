#include "bomservice/RowSet.h"
#include "bomservice/UnitQty.h"

#include <QDateTime>
#include <gtest/gtest.h>

using namespace bom;
using bomservice::RowSet;

namespace {

std::string str(const QString& text) {
    return text.toStdString();
}

RowSet parsed(const QString& xml) {
    QString error;
    std::optional<RowSet> rows = RowSet::fromXml(xml, &error);
    EXPECT_TRUE(rows) << str(error);
    return rows.value_or(RowSet());
}

QString adoDocument(const QString& attributeTypes, const QString& data) {
    return QStringLiteral(
               "<?xml version=\"1.0\"?>\n"
               "<xml xmlns:s=\"uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882\"\n"
               "  xmlns:dt=\"uuid:C2F41010-65B3-11d1-A29F-00AA00C14882\"\n"
               "  xmlns:rs=\"urn:schemas-microsoft-com:rowset\" xmlns:z=\"#RowsetSchema\">\n"
               "<s:Schema id=\"RowsetSchema\">\n"
               "  <s:ElementType name=\"row\" content=\"eltOnly\">\n%1"
               "    <s:extends type=\"rs:rowbase\"/>\n"
               "  </s:ElementType>\n"
               "</s:Schema>\n"
               "<rs:data>\n%2</rs:data>\n"
               "</xml>\n")
        .arg(attributeTypes, data);
}

const QString kTwoColumns = QStringLiteral(
    "<s:AttributeType name='cinvcode' rs:number='1'><s:datatype dt:type='string'/>"
    "</s:AttributeType>\n"
    "<s:AttributeType name='iqty' rs:number='2'><s:datatype dt:type='i4'/></s:AttributeType>\n");

} // namespace

TEST(RowSetTest, CardRoundTripsThroughAdoXmlAndSelectsByEditprop) {
    RowSet header;
    const int h = header.appendRow();
    header.setValue(h, QStringLiteral("BomId"),
                    QStringLiteral("{3F2504E0-4F89-11D3-9A0C-0305E82C3301}"));
    header.setValue(h, QStringLiteral("cInvName"),
                    QStringLiteral("物料清单 \"A\" & <B> 'C'\n第二行"));
    header.setValue(h, QStringLiteral("cMemo"), QStringLiteral(""));
    header.setValue(h, QStringLiteral("cDefine1"), QVariant());
    header.addColumn({QStringLiteral("VersionEffDate"), QStringLiteral("dateTime")});
    header.setValue(h, QStringLiteral("versioneffdate"),
                    QDateTime(QDate(2024, 3, 5), QTime(8, 9, 10)));
    header.addColumn({QStringLiteral("my col"), QStringLiteral("string")});
    header.setValue(h, QStringLiteral("MY COL"), QStringLiteral("odd name"));
    EXPECT_EQ(header.columns()[0].name, QStringLiteral("bomid"));
    EXPECT_EQ(header.columns().size(), 6u);

    db::Rows query({QStringLiteral("AutoId"), QStringLiteral("cPsPCode"),
                    QStringLiteral("iPsQuantity"), QStringLiteral("bFree"),
                    QStringLiteral("EditProp"), QStringLiteral("OldAutoId")});
    query.append({QVariant(QMetaType::fromType<int>()), QStringLiteral("BK100"), 2.5, true,
                  QStringLiteral("A"), QVariant()});
    query.append({7, QStringLiteral("BK200"), 1.0 / 3, false, QStringLiteral(" M "), 7});
    query.append({8, QStringLiteral("BK300"), 0.1, false, QStringLiteral("D"), 8});
    query.append({9, QStringLiteral(""), 1e20, false, QStringLiteral(""), 9});
    RowSet body = RowSet::fromRows(query);
    ASSERT_EQ(body.columns().size(), 6u);
    EXPECT_EQ(body.columns()[0].type, QStringLiteral("i4"));
    EXPECT_EQ(body.columns()[2].type, QStringLiteral("float"));
    EXPECT_EQ(body.columns()[3].type, QStringLiteral("boolean"));
    EXPECT_EQ(body.columns()[5].type, QStringLiteral("i4"));
    EXPECT_EQ(body.text(1, QStringLiteral("CPSPCODE")), QStringLiteral("BK200"));
    body.setEditprop(3, QStringLiteral("D"));
    body.setValue(99, QStringLiteral("nowhere"), 1); // out of range: ignored
    EXPECT_FALSE(body.hasColumn(QStringLiteral("nowhere")));
    EXPECT_EQ(body.deletedRows(), (std::vector<int>{2, 3}));
    EXPECT_EQ(body.addedOrModifiedRows(), (std::vector<int>{0, 1}));
    EXPECT_EQ(body.notDeletedRows(), (std::vector<int>{0, 1}));
    EXPECT_EQ(body.allRows(), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(body.oldautoid(1).toInt(), 7);

    for (const RowSet* original : {&header, &body}) {
        const QString xml = original->toXml();
        const RowSet back = parsed(xml);
        EXPECT_TRUE(back == *original) << str(xml);
        EXPECT_EQ(back.toXml(), xml);
    }

    const QString headerXml = header.toXml();
    EXPECT_TRUE(headerXml.contains(QStringLiteral("cmemo=''"))) << str(headerXml);
    EXPECT_FALSE(headerXml.contains(QStringLiteral("cdefine1='"))) << str(headerXml);
    EXPECT_TRUE(headerXml.contains(QStringLiteral("versioneffdate='2024-03-05T08:09:10'")));
    const RowSet headerBack = parsed(headerXml);
    EXPECT_TRUE(headerBack.value(0, QStringLiteral("cdefine1")).isNull());
    EXPECT_FALSE(headerBack.value(0, QStringLiteral("cmemo")).isNull());
    EXPECT_EQ(headerBack.text(0, QStringLiteral("cinvname")),
              header.text(0, QStringLiteral("cinvname")));
    EXPECT_EQ(headerBack.text(0, QStringLiteral("my col")), QStringLiteral("odd name"));

    const QString bodyXml = body.toXml();
    EXPECT_TRUE(bodyXml.contains(
        QStringLiteral("<z:row cpspcode='BK100' ipsquantity='2.5' bfree='True' editprop='A'/>")))
        << str(bodyXml);
    const RowSet bodyBack = parsed(bodyXml);
    EXPECT_EQ(bodyBack.value(1, QStringLiteral("ipsquantity")).toDouble(), 1.0 / 3);
    EXPECT_EQ(bodyBack.value(3, QStringLiteral("ipsquantity")).toDouble(), 1e20);
    EXPECT_EQ(bodyBack.value(1, QStringLiteral("autoid")).typeId(), QMetaType::Int);
    EXPECT_EQ(bodyBack.value(0, QStringLiteral("bfree")).typeId(), QMetaType::Bool);
    EXPECT_EQ(bodyBack.deletedRows(), body.deletedRows());

    RowSet changed = bodyBack;
    changed.setValue(1, QStringLiteral("ipsquantity"), 0.34);
    EXPECT_FALSE(changed == body);
    changed = bodyBack;
    changed.setValue(2, QStringLiteral("cpspcode"), QVariant());
    EXPECT_FALSE(changed == body);
    changed = bodyBack;
    changed.removeRow(0);
    EXPECT_FALSE(changed == body);
    EXPECT_EQ(changed.text(0, QStringLiteral("cpspcode")), QStringLiteral("BK200"));
}

TEST(RowSetTest, ReadsAdoDocumentsWrittenByOthers) {
    // Columns out of rs:number order, ADO's own attributes, mixed case, rows inside rs:insert.
    const QString xml = adoDocument(
        QStringLiteral(
            "<s:AttributeType name=\"iPsQuantity\" rs:number=\"2\" rs:nullable=\"true\"\n"
            "    rs:basetable=\"bom_opcomponent\" rs:basecolumn=\"BaseQtyN\">\n"
            "  <s:datatype dt:type=\"number\" rs:dbtype=\"numeric\" dt:maxLength=\"19\" "
            "rs:scale=\"6\" rs:precision=\"28\" rs:fixedlength=\"true\"/>\n"
            "</s:AttributeType>\n"
            "<s:AttributeType name=\"AutoId\" rs:number=\"1\" rs:keycolumn=\"true\" "
            "rs:maybenull=\"false\">\n"
            "  <s:datatype dt:type=\"int\" dt:maxLength=\"4\" rs:precision=\"10\"/>\n"
            "</s:AttributeType>\n"
            "<s:AttributeType name='bFree' rs:number='3'><s:datatype dt:type='boolean'/>"
            "</s:AttributeType>\n"
            "<s:AttributeType name='dEffDate' rs:number='4'><s:datatype dt:type='dateTime'/>"
            "</s:AttributeType>\n"),
        QStringLiteral("  <z:row AUTOID=\"1\" IPSQUANTITY=\" 2.50 \" bfree=\"TRUE\"/>\n"
                       "  <rs:insert>\n"
                       "    <z:row AutoId='2' bFree='-1' dEffDate='2024-01-31T00:00:00'/>\n"
                       "    <z:row AutoId='3' bFree='0'/>\n"
                       "  </rs:insert>\n"));
    const RowSet rows = parsed(xml);
    ASSERT_EQ(rows.rowCount(), 3);
    ASSERT_EQ(rows.columns().size(), 4u);
    EXPECT_EQ(rows.columns()[0].name, QStringLiteral("autoid"));
    EXPECT_EQ(rows.columns()[0].type, QStringLiteral("int"));
    EXPECT_FALSE(rows.columns()[0].nullable);
    EXPECT_EQ(rows.columns()[1].name, QStringLiteral("ipsquantity"));
    EXPECT_TRUE(rows.columns()[1].nullable);
    EXPECT_EQ(rows.value(0, QStringLiteral("ipsquantity")), QVariant(2.5));
    EXPECT_EQ(rows.value(2, QStringLiteral("autoid")), QVariant(3));
    EXPECT_EQ(rows.value(0, QStringLiteral("bfree")), QVariant(true));
    EXPECT_EQ(rows.value(1, QStringLiteral("bfree")), QVariant(true));
    EXPECT_EQ(rows.value(2, QStringLiteral("bfree")), QVariant(false));
    EXPECT_EQ(rows.value(1, QStringLiteral("deffdate")).toDateTime(),
              QDateTime(QDate(2024, 1, 31), QTime(0, 0)));
    EXPECT_TRUE(rows.value(1, QStringLiteral("ipsquantity")).isNull());

    // Once rewritten, the text settles.
    const QString ours = rows.toXml();
    EXPECT_TRUE(ours.contains(QStringLiteral("<z:row autoid='1' ipsquantity='2.5' bfree='True'/>")))
        << str(ours);
    EXPECT_EQ(parsed(ours).toXml(), ours);
    EXPECT_TRUE(parsed(ours) == rows);
}

TEST(RowSetTest, RefusesMalformedDocumentsWithAReason) {
    const QString row = QStringLiteral("<z:row cinvcode='A' iqty='1'/>\n");
    const struct {
        QString xml;
        const char* reason;
    } cases[] = {
        {QString(), "not well-formed"},
        {adoDocument(kTwoColumns, row).replace(QStringLiteral("</rs:data>"), QString()),
         "not well-formed"},
        {QStringLiteral("<root/>"), "expected <xml>"},
        {QStringLiteral("<xml xmlns:rs='urn:schemas-microsoft-com:rowset'><rs:data/></xml>"),
         "no s:Schema"},
        {adoDocument(kTwoColumns, row)
             .replace(QStringLiteral("rs:data"), QStringLiteral("rs:rows")),
         "no rs:data"},
        {adoDocument(kTwoColumns, QStringLiteral("<z:row cinvcode='A' bogus='1'/>\n")),
         "line 13: attribute 'bogus'"},
        {adoDocument(kTwoColumns, QStringLiteral("<z:row iqty='abc'/>\n")),
         "'abc' of column 'iqty' is not a valid i4"},
        {adoDocument(kTwoColumns, QStringLiteral("<z:row iqty='1' IQTY='2'/>\n")), "twice"},
        {adoDocument(kTwoColumns, QStringLiteral("<rs:update><z:row iqty='1'/></rs:update>\n")),
         "not supported"},
        {adoDocument(QString(kTwoColumns)
                         .replace(QStringLiteral("rs:number='2'"), QStringLiteral("rs:number='1'")),
                     row),
         "rs:number 1 is also"},
    };
    for (const auto& c : cases) {
        QString error;
        const std::optional<RowSet> rows = RowSet::fromXml(c.xml, &error);
        EXPECT_FALSE(rows) << str(c.xml);
        EXPECT_TRUE(error.contains(QLatin1String(c.reason))) << str(error) << "\n" << str(c.xml);
        EXPECT_TRUE(error.contains(QLatin1String("line"))) << str(error);
    }
    EXPECT_FALSE(RowSet::fromXml(QStringLiteral("<xml"), nullptr));
}

TEST(RowSetTest, UnitQtyIsRoundedAndLeftAloneWhenItCannotBeComputed) {
    RowSet body({{QStringLiteral("ipsquantity"), QStringLiteral("float")},
                 {QStringLiteral("tdqtyd"), QStringLiteral("float")},
                 {QStringLiteral("iprodchangrate"), QStringLiteral("float")},
                 {QStringLiteral("unitqty"), QStringLiteral("float")}});
    const auto add = [&body](QVariant qty, QVariant base, QVariant rate) {
        const int r = body.appendRow();
        body.setValue(r, QStringLiteral("ipsquantity"), qty);
        body.setValue(r, QStringLiteral("tdqtyd"), base);
        body.setValue(r, QStringLiteral("iprodchangrate"), rate);
        body.setValue(r, QStringLiteral("unitqty"), 7.0);
    };
    add(10.0, 3.0, 1.0);                                 // 3.333.. -> 3.33
    add(10.0, 2.0, 2.0);                                 // 2.5 -> 2.5
    add(10.0, 0.0, 1.0);                                 // zero base quantity
    add(10.0, QVariant(), 1.0);                          // null base quantity
    add(10.0, 4.0, QStringLiteral(""));                  // empty change rate
    add(0.001, 1.0, 1.0);                                // rounds to 0.00
    add(QStringLiteral("-9"), QStringLiteral("4"), 1.0); // text that is a number
    bomservice::ComputeUnitQty(body, 2);
    const auto unitQty = [&body](int r) {
        return body.value(r, QStringLiteral("unitqty")).toDouble();
    };
    EXPECT_DOUBLE_EQ(unitQty(0), 3.33);
    EXPECT_DOUBLE_EQ(unitQty(1), 2.5);
    EXPECT_DOUBLE_EQ(unitQty(2), 7.0);
    EXPECT_DOUBLE_EQ(unitQty(3), 7.0);
    EXPECT_DOUBLE_EQ(unitQty(4), 7.0);
    EXPECT_DOUBLE_EQ(unitQty(5), 7.0);
    EXPECT_DOUBLE_EQ(unitQty(6), -2.25);

    bomservice::ComputeUnitQty(body, 0);
    EXPECT_DOUBLE_EQ(unitQty(0), 3.0);
    EXPECT_DOUBLE_EQ(unitQty(1), 3.0); // 2.5 rounds away from zero
    EXPECT_DOUBLE_EQ(unitQty(6), -2.0);

    // A body without the column gains a numeric one.
    RowSet bare;
    const int r = bare.appendRow();
    bare.setValue(r, QStringLiteral("IPSQUANTITY"), 6);
    bare.setValue(r, QStringLiteral("TDQTYD"), 4);
    bare.setValue(r, QStringLiteral("IPRODCHANGRATE"), 1);
    bomservice::ComputeUnitQty(bare, 1);
    ASSERT_TRUE(bare.hasColumn(QStringLiteral("unitqty")));
    EXPECT_EQ(bare.columns().back().type, QStringLiteral("float"));
    EXPECT_EQ(bare.value(r, QStringLiteral("unitqty")), QVariant(1.5));
}
