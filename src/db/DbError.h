#pragma once

#include <QString>
#include <stdexcept>

namespace bom::db {

// A failed statement or connection. Thrown by the database layer and caught at the boundary of
// the routine that owns the user-visible outcome (which reports it through the Prompter).
class DbError : public std::runtime_error {
public:
    explicit DbError(const QString& message, const QString& sql = {}, const QString& sqlState = {})
        : std::runtime_error(message.toStdString()), message_(message), sql_(sql),
          sqlState_(sqlState) {}
    const QString& message() const { return message_; }
    const QString& sql() const { return sql_; }
    // PostgreSQL's SQLSTATE of the failure; empty for SQLite and for failures of our own.
    const QString& sqlState() const { return sqlState_; }
    // PostgreSQL ended the transaction because it collided with another one (a serialization
    // failure or a deadlock): nothing of it remains, and the same work may succeed if run again.
    bool collided() const {
        return sqlState_ == QLatin1String("40001") || sqlState_ == QLatin1String("40P01");
    }

private:
    QString message_;
    QString sql_;
    QString sqlState_;
};

} // namespace bom::db
