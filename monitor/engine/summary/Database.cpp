#include "Database.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <cmath>
#include <cstring>

#include <sqlite3.h>

namespace monitor
{

namespace
{

// Nothing in a summary is larger. Without this limit, SQLite would allocate as much memory as a
// record claims to need.
constexpr int longestValue = 1 << 20;

/// An absolute path. SQLite does not treat some other names, such as ":memory:", as those of files.
QByteArray pathOf(const QString& fileName)
{
    return QFile::encodeName(QFileInfo(fileName).absoluteFilePath());
}

} // namespace

Database::~Database()
{
    sqlite3_close_v2(connection);
}

void Database::create(const QString& fileName)
{
    check(sqlite3_open_v2(pathOf(fileName).constData(), &connection,
                          SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr));
    sqlite3_extended_result_codes(connection, 1);
    execute("PRAGMA page_size=1024; PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF;"
            "PRAGMA locking_mode=EXCLUSIVE; PRAGMA temp_store=MEMORY; PRAGMA foreign_keys=ON");
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, longestValue); // nothing else could be opened
}

// SQLite neither reads nor creates other files next to a database that is opened as immutable.
void Database::open(const QString& fileName)
{
    const QByteArray uri = "file:" + pathOf(fileName).toPercentEncoding("/") + "?immutable=1";
    check(sqlite3_open_v2(uri.constData(), &connection,
                          SQLITE_OPEN_URI | SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr));
    defend();
}

void Database::open(const QByteArray& content)
{
    check(sqlite3_open_v2(":memory:", &connection, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                          nullptr));
    if (!isIntact())
        return;
    const auto size = static_cast<sqlite3_int64>(content.size());
    auto* const copy =
        static_cast<unsigned char*>(sqlite3_malloc64(static_cast<sqlite3_uint64>(size) + 1));
    if (copy == nullptr)
        return check(SQLITE_NOMEM);
    std::memcpy(copy, content.constData(), static_cast<size_t>(size));
    check(sqlite3_deserialize(connection, "main", copy, size, size,
                              SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_READONLY));
    defend();
}

void Database::defend()
{
    if (!isIntact())
        return;
    sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(connection, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_limit(connection, SQLITE_LIMIT_LENGTH, longestValue);
    sqlite3_limit(connection, SQLITE_LIMIT_SQL_LENGTH, 10000);
    sqlite3_limit(connection, SQLITE_LIMIT_COLUMN, 100);
    sqlite3_limit(connection, SQLITE_LIMIT_EXPR_DEPTH, 10);
    sqlite3_limit(connection, SQLITE_LIMIT_ATTACHED, 0);
    sqlite3_limit(connection, SQLITE_LIMIT_TRIGGER_DEPTH, 1);
    execute("PRAGMA cell_size_check=ON; PRAGMA mmap_size=0; PRAGMA temp_store=MEMORY");
}

QString Database::close()
{
    const int result = sqlite3_close(connection);
    if (result == SQLITE_OK)
        connection = nullptr;
    check(result);
    return firstError;
}

void Database::execute(const QByteArray& sql)
{
    if (isIntact())
        check(sqlite3_exec(connection, sql.constData(), nullptr, nullptr, nullptr));
}

void Database::fail(const QString& text)
{
    if (isIntact())
        firstError = text;
}

void Database::check(int result)
{
    constexpr int primary = 0xFF;
    if (result == SQLITE_OK || !isIntact())
        return;
    const int reason = connection ? sqlite3_system_errno(connection) : 0;
    const bool isFile = (result & primary) == SQLITE_IOERR || (result & primary) == SQLITE_CANTOPEN;
    if (isFile && reason != 0)
        return fail(qt_error_string(reason));
    const QString text =
        QString::fromUtf8(connection ? sqlite3_errmsg(connection) : sqlite3_errstr(result));
    fail(isFile ? text + QStringLiteral(" (the disk may be full, or a quota exceeded)") : text);
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const
{
    sqlite3_finalize(statement);
}

Statement::Statement(Database& opened, const QByteArray& sql) : database(opened)
{
    if (!database.isIntact())
        return;
    sqlite3_stmt* made = nullptr;
    database.check(sqlite3_prepare_v2(database.connection, sql.constData(),
                                      static_cast<int>(sql.size()), &made, nullptr));
    prepared.reset(made);
}

Statement Statement::inserting(Database& opened, const QByteArray& table)
{
    const int count = Statement(opened, "SELECT * FROM " + table).columns();
    QByteArray parameters = QByteArray("?,").repeated(count);
    parameters.chop(1);
    return Statement(opened, "INSERT INTO " + table + " VALUES(" + parameters + ')');
}

Statement& Statement::integer(qint64 value)
{
    if (database.isIntact())
        database.check(sqlite3_bind_int64(prepared.get(), ++column, value));
    return *this;
}

Statement& Statement::integer(const std::optional<qint64>& value)
{
    return value ? integer(*value) : null();
}

Statement& Statement::real(double value)
{
    if (database.isIntact())
        database.check(sqlite3_bind_double(prepared.get(), ++column, value));
    return *this;
}

Statement& Statement::text(const QString& value)
{
    const QByteArray bytes = value.toUtf8();
    if (database.isIntact())
        database.check(sqlite3_bind_text64(prepared.get(), ++column, bytes.constData(),
                                           static_cast<sqlite3_uint64>(bytes.size()),
                                           SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement& Statement::blob(const QByteArray& value)
{
    if (database.isIntact())
        database.check(sqlite3_bind_blob64(prepared.get(), ++column, value.constData(),
                                           static_cast<sqlite3_uint64>(value.size()),
                                           SQLITE_TRANSIENT));
    return *this;
}

Statement& Statement::null()
{
    if (database.isIntact())
        database.check(sqlite3_bind_null(prepared.get(), ++column));
    return *this;
}

void Statement::run()
{
    while (next()) {
    }
    column = 0;
}

bool Statement::next()
{
    column = 0;
    if (!database.isIntact())
        return false;
    const int result = sqlite3_step(prepared.get());
    if (result == SQLITE_ROW)
        return true;
    database.check(result == SQLITE_DONE ? SQLITE_OK : result);
    sqlite3_reset(prepared.get());
    return false;
}

int Statement::columns() const
{
    return prepared ? sqlite3_column_count(prepared.get()) : 0;
}

bool Statement::isNull() const
{
    return !database.isIntact() || sqlite3_column_type(prepared.get(), column) == SQLITE_NULL;
}

/// Whether the next column has this \a type.
bool Statement::expect(int type)
{
    if (!database.isIntact())
        return false;
    if (sqlite3_column_type(prepared.get(), column) == type)
        return true;
    database.fail(QStringLiteral("invalid content: column \"%1\" has a value of the wrong type")
                      .arg(sqlite3_column_name(prepared.get(), column)));
    return false;
}

qint64 Statement::readInteger(qint64 least, qint64 greatest)
{
    const qint64 number =
        expect(SQLITE_INTEGER) ? sqlite3_column_int64(prepared.get(), column) : least;
    if (number < least || number > greatest)
        database.fail(QStringLiteral("invalid content: column \"%1\" has the value %2, which is "
                                     "out of range")
                          .arg(sqlite3_column_name(prepared.get(), column))
                          .arg(number));
    ++column;
    return std::min(std::max(number, least), greatest);
}

std::optional<qint64> Statement::readOptionalInteger(qint64 least, qint64 greatest)
{
    if (!isNull())
        return readInteger(least, greatest);
    ++column;
    return std::nullopt;
}

double Statement::readReal()
{
    const double number = expect(SQLITE_FLOAT) ? sqlite3_column_double(prepared.get(), column) : 0;
    if (!std::isfinite(number))
        database.fail(
            QStringLiteral("invalid content: column \"%1\" has a value that is not finite")
                .arg(sqlite3_column_name(prepared.get(), column)));
    ++column;
    return number;
}

std::optional<double> Statement::readOptionalReal()
{
    if (!isNull())
        return readReal();
    ++column;
    return std::nullopt;
}

QString Statement::readText()
{
    QString text;
    if (expect(SQLITE_TEXT)) {
        const auto* const bytes =
            reinterpret_cast<const char*>(sqlite3_column_text(prepared.get(), column));
        text = QString::fromUtf8(bytes, sqlite3_column_bytes(prepared.get(), column));
    }
    ++column;
    return text;
}

std::optional<QString> Statement::readOptionalText()
{
    if (!isNull())
        return readText();
    ++column;
    return std::nullopt;
}

QByteArray Statement::readBlob()
{
    QByteArray bytes;
    if (expect(SQLITE_BLOB)) {
        const auto* const data =
            static_cast<const char*>(sqlite3_column_blob(prepared.get(), column));
        bytes = QByteArray(data, sqlite3_column_bytes(prepared.get(), column));
    }
    ++column;
    return bytes;
}

QByteArray Statement::readBytes()
{
    if (!database.isIntact())
        return QByteArray();
    const auto withNumber = [](char type, quint64 number) {
        QByteArray bytes(1 + static_cast<int>(sizeof number), type);
        qToBigEndian(number, bytes.data() + 1);
        return bytes;
    };
    sqlite3_stmt* const row = prepared.get();
    const int place = column;
    switch (sqlite3_column_type(row, place)) {
    case SQLITE_INTEGER:
        ++column;
        return withNumber('I', static_cast<quint64>(sqlite3_column_int64(row, place)));
    case SQLITE_FLOAT: {
        ++column;
        const double number = sqlite3_column_double(row, place);
        quint64 bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        return withNumber('R', bits);
    }
    case SQLITE_TEXT: {
        const QByteArray text = readText().toUtf8();
        return withNumber('T', static_cast<quint64>(text.size())) + text;
    }
    case SQLITE_BLOB: {
        const QByteArray bytes = readBlob();
        return withNumber('B', static_cast<quint64>(bytes.size())) + bytes;
    }
    default:
        ++column;
        return QByteArray("N");
    }
}

} // namespace monitor
