#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <vector>

namespace bom::entry {
class Session;
}

namespace bom::bomservice {

// Files attached to a BOM card, kept in the account so every operator of a shared account sees
// them. Each write is its own transaction; database errors throw db::DbError.
class CardAttachments {
public:
    struct File {
        qlonglong id = 0;
        QString name;
        qlonglong size = 0;
    };

    explicit CardAttachments(entry::Session& session) : session_(session) {}

    // A BOM that is gone or hidden from the operator has no files, takes none (add answers 0),
    // and its files are neither read nor removed.
    std::vector<File> list(const QString& headerId);
    int count(const QString& headerId);
    qlonglong add(const QString& headerId, const QString& fileName, const QByteArray& content);
    QByteArray content(qlonglong id);
    bool remove(qlonglong id); // false when it was gone

private:
    QVariant voucherIdOf(const QString& headerId); // null when gone or hidden
    bool mayTouchFile(qlonglong id);

    entry::Session& session_;
};

} // namespace bom::bomservice
