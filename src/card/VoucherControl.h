#pragma once

#include "bomservice/RowSet.h"

#include <QString>
#include <QStringList>

namespace bom::card {

// The card as the command dispatcher drives it: one BOM header above its lines, laid out by a
// template. Rows count from 0 over the lines not marked deleted; fields are named as the card's
// views name their columns.
class VoucherControl {
public:
    virtual ~VoucherControl() = default;

    // 0 read only (browse), 1 editable.
    virtual int VoucherStatus() const = 0;
    virtual void setVoucherStatus(int status) = 0;
    // Non-zero while the card is in edit (added, copied or being modified).
    virtual int editStatus() const = 0;
    virtual void setEditStatus(int status) = 0;

    virtual QString headerText(const QString& field) const = 0;
    virtual void setHeaderText(const QString& field, const QString& value) = 0;
    virtual QString bodyText(int row, const QString& field) const = 0;
    virtual void setBodyText(int row, const QString& field, const QString& value) = 0;

    virtual int BodyRows() const = 0;
    virtual QStringList bodyFields() const = 0;                    // BodyInfoCount = its size
    virtual bool bodyFieldVisible(const QString& field) const = 0; // itemState's visibility
    virtual int BodyMaxRows() const = 0;
    virtual void setBodyMaxRows(int rows) = 0;
    // AddLine appends an added ("A") line; DelLine marks a stored line deleted ("D") and drops
    // an added one.
    virtual void AddLine() = 0;
    virtual void DelLine(int row) = 0;
    virtual int currentRow() const = 0; // -1 with no current line
    virtual void setCurrentRow(int row) = 0;
    // A line without a component whose visible cells are all empty: the save drops it.
    bool isBlankLine(int row) const;

    // A new empty card of the current template.
    virtual void AddNew() = 0;
    // The whole card; lines marked deleted are kept (the save deletes them).
    virtual bomservice::BomCard getVoucherData() const = 0;
    virtual void setVoucherData(const bomservice::BomCard& card) = 0;
    // The same in the row format of the save (ADO persisted XML); false when the text is not one.
    bool setVoucherDataXML(const QString& headerXml, const QString& bodyXml);
    void getVoucherDataXML(QString& headerXml, QString& bodyXml) const;

    // The body shown summarised (lines grouped by component with summed quantities).
    virtual bool IsAggregateStatus() const = 0;
    virtual void setAggregateStatus(bool aggregate) = 0;

    // 2 when the card may be left as it is (its entry is complete: required fields filled);
    // anything else has shown its message.
    virtual int ProtectUnload2() = 0;
    // The changes of this edit against the card as loaded, as text; read before the save
    // writes them.
    virtual QString getChangeLog() const = 0;
};

} // namespace bom::card
