#pragma once

#include "db/Database.h"

#include <QString>
#include <QStringList>

namespace bom::suite {

class ConnectionService;
class Login;
class Prompter;

// A condition matching typed text against some columns, with its bound values.
struct MatchCondition {
    QString sql; // "(1=1)" when the text is empty
    db::Params params;
};

// The suite's public service: the function lock, the function catalogue, the match condition
// of references and the frame around deletes.
class PublicService {
public:
    explicit PublicService(Prompter& prompter) : prompter_(prompter) {}

    // mode 1 takes the function lock `key`, -1 gives it back. A refusal is shown here, naming
    // the holder, and answers false.
    bool IsLockFun(ConnectionService& conn, Login& login, const QString& key, int mode);
    // The function's text for the operator, or empty when the operator has no right to it.
    void Find(Login& login, const QString& caption, const void* caller, QString& funcText);
    // A condition that matches `text` in any of `columns` ("a,b,c"), or "(1=1)".
    static constexpr int kMatchLength = 200;
    static MatchCondition CreateMatchStr(const QString& table, const QString& columns,
                                         const QString& text);
    // Claims the record for deletion so two sessions never delete it at once.
    bool DeleteStart(Login& login, const QString& table, const QString& key);
    void DeleteEnded(Login& login, const QString& table, const QString& key);

    // Account setting: may two sessions hold a function lock at once?
    static bool functionLockShared(db::Database& db);
    static void setFunctionLockShared(db::Database& db, bool shared);

private:
    Prompter& prompter_;
};

} // namespace bom::suite
