#include "Database.h"

#include "DbError.h"
#include "Identifier.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlRecord>
#include <atomic>
#include <set>

namespace bom::db {
namespace {

QString nextConnectionName() {
    static std::atomic<int> counter{0};
    return QStringLiteral("bom-%1").arg(++counter);
}

QString errorText(const QSqlError& error) {
    QString text = error.databaseText().trimmed();
    if (text.isEmpty())
        text = error.driverText().trimmed();
    return text.isEmpty() ? error.text() : text;
}

// A failed statement, with PostgreSQL's SQLSTATE (the QPSQL driver's native code). A collision
// with another transaction says so in words: the operator is to run the work again, not to
// look for a fault.
DbError statementError(const Dialect& dialect, const QSqlError& error, const QString& sql) {
    const QString state =
        dialect.kind() == Dialect::Kind::Postgres ? error.nativeErrorCode() : QString();
    DbError failure(errorText(error), sql, state);
    if (!failure.collided())
        return failure;
    return DbError(QStringLiteral("与其他操作员的操作冲突（死锁或串行化失败），本次操作未写入任何"
                                  "内容，请重试。（%1）")
                       .arg(errorText(error)),
                   sql, state);
}

QSqlDatabase connect(const DbUrl& url, Database::OpenMode mode, const QString& name) {
    if (url.kind == Dialect::Kind::Sqlite) {
        if (!url.isMemory() && mode == Database::OpenMode::ExistingOnly &&
            !QFileInfo::exists(url.path))
            throw DbError(QStringLiteral("账套数据库不存在：%1").arg(url.path));
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        db.setDatabaseName(url.path);
        db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=120000"));
        return db;
    }
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
    db.setHostName(url.host);
    db.setPort(url.port);
    db.setDatabaseName(url.database);
    db.setUserName(url.user);
    db.setPassword(url.password);
    db.setConnectOptions(QStringLiteral("connect_timeout=10"));
    return db;
}

// A PostgreSQL account's database is made on first use, through the maintenance database.
void createPostgresDatabase(const DbUrl& url) {
    if (!isPlainIdentifier(url.database))
        throw DbError(QStringLiteral("数据库名不合法：%1").arg(url.database));
    QString maintenance = url.text;
    maintenance.chop(url.database.size());
    auto admin = Database::open(maintenance + QStringLiteral("postgres"));
    admin->exec(QStringLiteral("CREATE DATABASE %1").arg(url.database));
}

// A hash that is the same in every process (qHash is seeded per process), so that two sessions
// name a key's lock alike.
quint32 stableHash(const QString& text) {
    quint32 hash = 2166136261u; // FNV-1a
    for (const char byte : text.toUtf8()) {
        hash ^= quint8(byte);
        hash *= 16777619u;
    }
    return hash;
}

bool postgresDatabaseMissing(const QString& message) {
    return message.contains(QLatin1String("does not exist"));
}

} // namespace

std::unique_ptr<Database> Database::openPagedReader(const QString& url) {
    auto reader = open(url);
    for (const QString& statement : reader->dialect().pagedReaderSetup())
        reader->exec(statement);
    return reader;
}

std::unique_ptr<Database> Database::open(const QString& text, OpenMode mode) {
    if (mode == OpenMode::CreateIfMissing && text.startsWith(QLatin1String("postgres"))) {
        try {
            return open(text, OpenMode::ExistingOnly);
        } catch (const DbError& e) {
            const auto url = DbUrl::parse(text);
            if (!url || !postgresDatabaseMissing(e.message()))
                throw;
            createPostgresDatabase(*url);
        }
    }
    QString why;
    const auto url = DbUrl::parse(text, &why);
    if (!url)
        throw DbError(why);
    const QString name = nextConnectionName();
    QSqlDatabase handle = connect(*url, mode, name);
    if (!handle.isValid()) {
        handle = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        throw DbError(QStringLiteral("缺少数据库驱动：%1")
                          .arg(url->kind == Dialect::Kind::Sqlite ? "QSQLITE" : "QPSQL"));
    }
    if (!handle.open()) {
        const QString message = errorText(handle.lastError());
        handle = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        throw DbError(QStringLiteral("无法连接账套数据库 %1：%2").arg(url->text, message));
    }
    std::unique_ptr<Database> db(new Database(*url, Dialect::create(url->kind), handle));
    for (const QString& statement : db->dialect().sessionSetup())
        db->exec(statement);
    return db;
}

Database::Database(DbUrl url, std::unique_ptr<Dialect> dialect, QSqlDatabase handle)
    : url_(std::move(url)), dialect_(std::move(dialect)), handle_(std::move(handle)),
      connectionName_(handle_.connectionName()) {}

Database::~Database() {
    if (handle_.isOpen() && depth_ > 0)
        QSqlQuery(handle_).exec(QStringLiteral("ROLLBACK"));
    // Kept statements are freed while their connection is still there.
    statements_.clear();
    retired_.clear();
    if (handle_.isOpen())
        handle_.close();
    handle_ = QSqlDatabase();
    QSqlDatabase::removeDatabase(connectionName_);
}

bool Database::isOpen() const {
    return handle_.isOpen();
}

QSqlQuery Database::prepare(const QString& sql) {
    QSqlQuery query(handle_);
    query.setForwardOnly(true);
    if (!query.prepare(sql))
        throw statementError(*dialect_, query.lastError(), sql);
    return query;
}

void Database::run(QSqlQuery& query, const Params& params) {
    for (int i = 0; i < params.size(); ++i) {
        // NULL is an invalid QVariant; a text that happens to be a null QString is empty text.
        const QVariant& value = params[i];
        const bool isText = value.typeId() == QMetaType::QString;
        // PostgreSQL's driver would cut the text at a NUL and fail on a broken statement.
        if (isText && value.toString().contains(QChar(0)))
            throw DbError(QStringLiteral("输入的文字含有非法字符（NUL），未执行。"),
                          query.lastQuery());
        const bool nullText = isText && value.toString().isNull();
        query.bindValue(i, nullText ? QVariant(QStringLiteral("")) : value);
    }
    if (!query.exec())
        throw statementError(*dialect_, query.lastError(), query.lastQuery());
}

Database::Run::Run(Database& db, Statement* cached, QSqlQuery own)
    : db_(db), cached_(cached), own_(std::move(own)) {
    if (cached_)
        cached_->busy = true;
}

Database::Run::~Run() {
    query().finish();
    if (cached_)
        cached_->busy = false;
}

Database::Statement* Database::cachedStatement(const QString& sql) {
    const auto found = statements_.find(sql);
    if (found != statements_.end()) {
        if (found->second->busy)
            return nullptr;
        found->second->lastUse = ++uses_;
        return found->second.get();
    }
    if (int(statements_.size()) >= kMaxStatements)
        evictOldest();
    auto statement = std::make_unique<Statement>();
    statement->query = prepare(sql);
    statement->lastUse = ++uses_;
    return statements_.emplace(sql, std::move(statement)).first->second.get();
}

void Database::forget(const QString& sql) {
    const auto found = statements_.find(sql);
    if (found == statements_.end() || found->second->busy)
        return;
    retired_.push_back(std::move(found->second));
    statements_.erase(found);
    if (depth_ == 0)
        releaseRetired();
}

void Database::evictOldest() {
    auto oldest = statements_.end();
    for (auto it = statements_.begin(); it != statements_.end(); ++it)
        if (!it->second->busy &&
            (oldest == statements_.end() || it->second->lastUse < oldest->second->lastUse))
            oldest = it;
    if (oldest != statements_.end())
        forget(oldest->first);
}

void Database::releaseRetired() {
    retired_.clear();
}

std::unique_ptr<Database::Run> Database::execute(const QString& sql, const Params& params) {
    if (depth_ == 0 && !retired_.empty())
        releaseRetired();
    if (params.isEmpty()) {
        // One round trip already; schema changes also retire what was prepared against the
        // old tables (PostgreSQL refuses a kept SELECT * whose columns changed).
        QSqlQuery query(handle_);
        query.setForwardOnly(true);
        if (!query.exec(sql))
            throw statementError(*dialect_, query.lastError(), sql);
        static const QRegularExpression ddl(QStringLiteral("^\\s*(CREATE|ALTER|DROP)\\b"),
                                            QRegularExpression::CaseInsensitiveOption);
        if (ddl.match(sql).hasMatch()) {
            QStringList kept;
            for (const auto& [text, statement] : statements_)
                kept << text;
            for (const QString& text : kept)
                forget(text);
            schema_ = {};
        }
        return std::make_unique<Run>(*this, nullptr, std::move(query));
    }
    Statement* statement = cachedStatement(sql);
    if (!statement) { // the same SQL is being read further up the stack
        QSqlQuery query = prepare(sql);
        run(query, params);
        return std::make_unique<Run>(*this, nullptr, std::move(query));
    }
    auto reused = std::make_unique<Run>(*this, statement, QSqlQuery());
    try {
        run(statement->query, params);
    } catch (const DbError&) {
        // Prepared again next time, in case the failure was the statement's own.
        reused.reset();
        forget(sql);
        throw;
    }
    return reused;
}

Rows Database::query(const QString& sql, const Params& params) {
    Rows rows;
    stream(
        sql, params, [&](const QStringList& columns) { rows = Rows(columns); },
        [&](QVariantList&& row) { rows.append(std::move(row)); });
    return rows;
}

void Database::stream(const QString& sql, const Params& params,
                      const std::function<void(const QStringList&)>& onColumns,
                      const std::function<void(QVariantList&&)>& onRow) {
    const auto running = execute(sql, params);
    QSqlQuery& q = running->query();
    const QSqlRecord record = q.record();
    QStringList columns;
    for (int i = 0; i < record.count(); ++i)
        columns << record.fieldName(i);
    onColumns(columns);
    while (q.next()) {
        QVariantList row;
        row.reserve(columns.size());
        for (int i = 0; i < columns.size(); ++i)
            row << q.value(i);
        onRow(std::move(row));
    }
    if (q.lastError().isValid())
        throw statementError(*dialect_, q.lastError(), sql);
}

QVariant Database::scalar(const QString& sql, const Params& params) {
    const auto running = execute(sql, params);
    QSqlQuery& q = running->query();
    return q.next() ? q.value(0) : QVariant();
}

int Database::exec(const QString& sql, const Params& params) {
    return execute(sql, params)->query().numRowsAffected();
}

QVariant Database::insertReturning(const QString& sql, const Params& params) {
    const auto running = execute(sql, params);
    QSqlQuery& q = running->query();
    if (!q.next())
        throw DbError(QStringLiteral("写入后未返回主键"), sql);
    return q.value(0);
}

bool Database::relationExists(const QString& name) {
    const QString key = name.toLower();
    if (schema_.relations.contains(key))
        return true;
    // Only what exists is kept: a relation another session creates is found when it appears.
    const bool exists = scalar(dialect_->relationExistsSql(), {name}).toInt() > 0;
    if (exists)
        schema_.relations.insert(key);
    return exists;
}

QStringList Database::columnsOf(const QString& relation) {
    const QSqlRecord record = recordOf(relation);
    QStringList names;
    for (int i = 0; i < record.count(); ++i)
        names << record.fieldName(i);
    return names;
}

QSqlRecord Database::recordOf(const QString& relation) {
    const QString key = relation.toLower();
    const auto known = schema_.records.constFind(key);
    if (known != schema_.records.cend())
        return *known;
    if (!isPlainIdentifier(relation) || !relationExists(relation))
        return {};
    // The name is spliced only after the schema confirmed it names a relation.
    const QSqlRecord record =
        execute(QStringLiteral("SELECT * FROM %1 WHERE 1=0").arg(relation), {})->query().record();
    schema_.records.insert(key, record);
    return record;
}

QHash<QString, int> Database::textLimits(const QString& table) {
    static const QRegularExpression length(QStringLiteral("\\((\\d+)\\)"));
    const QString key = table.toLower();
    const auto known = schema_.textLimits.constFind(key);
    if (known != schema_.textLimits.cend())
        return *known;
    QHash<QString, int> limits;
    const Rows columns = query(dialect_->textColumnsSql(), {key});
    for (std::size_t i = 0; i < columns.size(); ++i) {
        const int declared = columns.columns().contains(QStringLiteral("length"))
                                 ? columns.value(i, "length").toInt()
                                 : length.match(columns.text(i, "type")).captured(1).toInt();
        if (declared > 0)
            limits.insert(columns.text(i, "name").toLower(), declared);
    }
    if (!columns.empty())
        schema_.textLimits.insert(key, limits);
    return limits;
}

QHash<QString, QString> Database::columnTypes(const QString& table) {
    const QString key = table.toLower();
    const auto known = schema_.columnTypes.constFind(key);
    if (known != schema_.columnTypes.cend())
        return *known;
    QHash<QString, QString> types;
    const Rows columns = query(dialect_->columnTypesSql(), {key});
    for (std::size_t i = 0; i < columns.size(); ++i)
        types.insert(columns.text(i, "name").toLower(), columns.text(i, "type"));
    if (!types.isEmpty())
        schema_.columnTypes.insert(key, types);
    return types;
}

void Database::holdKeys(const QString& space, const QStringList& keys) {
    const QString sql = dialect_->keyLockSql();
    if (sql.isEmpty() || keys.isEmpty())
        return;
    std::set<int> buckets;
    for (const QString& key : keys)
        buckets.insert(int(stableHash(key) % kKeyBuckets));
    const int kind = int(stableHash(space) & 0x7fffffff);
    for (const int bucket : buckets)
        exec(sql, {kind, bucket});
}

void Database::begin() {
    if (depth_ == 0)
        exec(isPostgres() ? QStringLiteral("BEGIN") : QStringLiteral("BEGIN IMMEDIATE"));
    else
        exec(QStringLiteral("SAVEPOINT sp%1").arg(depth_));
    ++depth_;
}

void Database::commit() {
    if (depth_ == 0)
        throw DbError(QStringLiteral("没有进行中的事务"));
    --depth_;
    if (depth_ == 0)
        exec(QStringLiteral("COMMIT"));
    else
        exec(QStringLiteral("RELEASE SAVEPOINT sp%1").arg(depth_));
}

void Database::rollback() {
    if (depth_ == 0)
        return;
    --depth_;
    if (depth_ == 0) {
        exec(QStringLiteral("ROLLBACK"));
        releaseRetired();
    } else {
        exec(QStringLiteral("ROLLBACK TO SAVEPOINT sp%1").arg(depth_));
    }
}

} // namespace bom::db
