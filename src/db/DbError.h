#pragma once

#include <QString>
#include <stdexcept>

namespace bom::db {

// A failed statement or connection. Thrown by the database layer and caught at the boundary of
// the routine that owns the user-visible outcome (which reports it through the Prompter).
class DbError : public std::runtime_error {
public:
    explicit DbError(const QString& message, const QString& sql = {})
        : std::runtime_error(message.toStdString()), message_(message), sql_(sql) {}
    const QString& message() const { return message_; }
    const QString& sql() const { return sql_; }

private:
    QString message_;
    QString sql_;
};

} // namespace bom::db
