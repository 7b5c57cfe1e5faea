#include "VoucherControl.h"

namespace bom::card {

bool VoucherControl::setVoucherDataXML(const QString& headerXml, const QString& bodyXml) {
    QString error;
    const auto header = bomservice::RowSet::fromXml(headerXml, &error);
    if (!header)
        return false;
    bomservice::BomCard card{*header, {}};
    if (!bodyXml.trimmed().isEmpty()) { // a card without a body grid has no body document
        const auto lines = bomservice::RowSet::fromXml(bodyXml, &error);
        if (!lines)
            return false;
        card.lines = *lines;
    }
    setVoucherData(card);
    return true;
}

void VoucherControl::getVoucherDataXML(QString& headerXml, QString& bodyXml) const {
    const bomservice::BomCard card = getVoucherData();
    headerXml = card.header.toXml();
    bodyXml = card.lines.toXml();
}

bool VoucherControl::isBlankLine(int row) const {
    if (!bodyText(row, QStringLiteral("cpscode")).trimmed().isEmpty())
        return false;
    const QStringList fields = bodyFields();
    for (const QString& field : fields)
        if (bodyFieldVisible(field) && !bodyText(row, field).trimmed().isEmpty())
            return false;
    return true;
}

} // namespace bom::card
