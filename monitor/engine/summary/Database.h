#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <limits>
#include <memory>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

namespace monitor
{

/// A connection to an SQLite database, which need not be trusted. After an error, all further
/// operations have no effect and return neutral values, so callers check error() once at the end.
/// This class is reentrant.
class Database
{
public:
    Database() = default;
    ~Database();

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens an empty file to write a new database. Nothing is undone after an error, so the file
    /// is then useless.
    void create(const QString& fileName);

    /// Opens the database in a file, or in memory, for reading, with the defences of SQLite against
    /// hostile databases. No other file is read, so the database must not be in WAL mode.
    void open(const QString& fileName);
    void open(const QByteArray& content);

    /// Closes the connection. Returns error().
    [[nodiscard]] QString close();

    /// Executes statements without results.
    void execute(const QByteArray& sql);

    /// Notes an error, unless there has been one.
    void fail(const QString& text);

    /// Empty, or the first error.
    const QString& error() const { return firstError; }
    bool isIntact() const { return firstError.isEmpty(); }

private:
    friend class Statement;

    void defend();
    void check(int result);

    sqlite3* connection = nullptr;
    QString firstError;
};

/// A statement, whose parameters are set, and whose columns are read, one after another. A value
/// that does not have the expected type, or is out of range, is an error of the database. This
/// class is reentrant.
class Statement
{
public:
    /// \a opened must outlive this object.
    Statement(Database& opened, const QByteArray& sql);

    /// A statement that inserts rows into \a table, with parameters for all of its columns.
    static Statement inserting(Database& opened, const QByteArray& table);

    Statement& integer(qint64 value);
    Statement& integer(const std::optional<qint64>& value);
    Statement& real(double value);
    Statement& text(const QString& value);
    Statement& blob(const QByteArray& value);
    Statement& null();

    /// Executes the statement with the parameters that were set since the last call.
    void run();

    /// Goes to the next row of the result. Returns false after the last one; the next call then
    /// executes the statement again.
    [[nodiscard]] bool next();

    int columns() const;
    qint64 readInteger(qint64 least = std::numeric_limits<qint64>::min(),
                       qint64 greatest = std::numeric_limits<qint64>::max());
    std::optional<qint64> readOptionalInteger(qint64 least = std::numeric_limits<qint64>::min(),
                                              qint64 greatest = std::numeric_limits<qint64>::max());
    bool readFlag() { return readInteger(0, 1) == 1; }
    double readReal(); ///< finite
    std::optional<double> readOptionalReal();
    QString readText();
    std::optional<QString> readOptionalText();
    QByteArray readBlob();
    void skip(int count = 1) { column += count; }

    /// The next column, whatever its type, as bytes that differ if the values differ.
    QByteArray readBytes();

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    bool isNull() const;
    bool expect(int type);

    Database& database;
    std::unique_ptr<sqlite3_stmt, Finalize> prepared;
    int column = 0; // to be set or read next
};

} // namespace monitor
