#include "SummarySchema.h"

#include <QtCore/QCryptographicHash>

namespace monitor
{

namespace
{

constexpr qint64 version = 1;

/// A table, and how many of its first columns are its key.
struct Table {
    const char* name;
    int keys;
    const char* definition;
};

constexpr Table tables[] = {
    {"run", 1,
     R"((
  id INTEGER PRIMARY KEY,
  complete INTEGER NOT NULL,
  k REAL NOT NULL,
  frames INTEGER NOT NULL,
  decoded INTEGER NOT NULL,
  dropped INTEGER NOT NULL,
  error_frames INTEGER NOT NULL,
  unreadable INTEGER NOT NULL,
  transport_messages INTEGER NOT NULL,
  transport_lost INTEGER NOT NULL,
  transport_out_of_order INTEGER NOT NULL,
  transport_interrupted INTEGER NOT NULL,
  first_time INTEGER,
  last_time INTEGER
) STRICT)"},
    {"run_label", 2,
     R"((
  run INTEGER NOT NULL REFERENCES run(id),
  key TEXT NOT NULL,
  value TEXT NOT NULL,
  PRIMARY KEY (run, key)
) STRICT, WITHOUT ROWID)"},
    {"run_program", 2,
     R"((
  run INTEGER NOT NULL REFERENCES run(id),
  version TEXT NOT NULL,
  PRIMARY KEY (run, version)
) STRICT, WITHOUT ROWID)"},
    {"run_description", 3,
     R"((
  run INTEGER NOT NULL REFERENCES run(id),
  name TEXT NOT NULL,
  sha256 TEXT NOT NULL,
  PRIMARY KEY (run, name, sha256)
) STRICT, WITHOUT ROWID)"},
    {"undecoded", 4,
     R"((
  run INTEGER NOT NULL REFERENCES run(id),
  bus TEXT NOT NULL,
  extended INTEGER NOT NULL,
  id INTEGER NOT NULL,
  frames INTEGER NOT NULL,
  PRIMARY KEY (run, bus, extended, id)
) STRICT, WITHOUT ROWID)"},
    {"signal", 1,
     R"((
  id INTEGER PRIMARY KEY,
  run INTEGER NOT NULL REFERENCES run(id),
  name TEXT NOT NULL,
  bus TEXT NOT NULL,
  source INTEGER,
  kind TEXT NOT NULL,
  message TEXT,
  message_id INTEGER,
  extended INTEGER,
  start_bit INTEGER,
  byte_order TEXT,
  length INTEGER NOT NULL,
  signed INTEGER NOT NULL,
  float INTEGER NOT NULL,
  data_type INTEGER,
  passed_through INTEGER NOT NULL,
  reserved_values INTEGER,
  factor REAL NOT NULL,
  offset REAL NOT NULL,
  unit TEXT NOT NULL,
  lower_limit REAL,
  upper_limit REAL,
  comment TEXT NOT NULL,
  count INTEGER NOT NULL,
  not_available INTEGER NOT NULL,
  error INTEGER NOT NULL,
  first_time INTEGER,
  last_time INTEGER,
  newest_raw INTEGER,
  newest REAL,
  newest_text TEXT,
  average REAL,
  deviation REAL,
  minimum REAL,
  maximum REAL,
  median REAL,
  rating INTEGER,
  lower_threshold REAL,
  upper_threshold REAL,
  deviators INTEGER
) STRICT)"},
    {"value_text", 2,
     R"((
  signal INTEGER NOT NULL REFERENCES signal(id),
  raw INTEGER NOT NULL,
  value REAL,
  text TEXT NOT NULL,
  PRIMARY KEY (signal, raw)
) STRICT, WITHOUT ROWID)"},
    {"counts", 2,
     R"((
  signal INTEGER NOT NULL REFERENCES signal(id),
  part INTEGER NOT NULL,
  entries INTEGER NOT NULL,
  data BLOB NOT NULL,
  PRIMARY KEY (signal, part)
) STRICT, WITHOUT ROWID)"},
    {"checksum", 1,
     R"((
  id INTEGER PRIMARY KEY,
  sha256 BLOB NOT NULL
) STRICT)"},
};

const Table& checksumTable = tables[std::size(tables) - 1];

QByteArray definitionOf(const Table& table)
{
    return QByteArray("CREATE TABLE ") + table.name + table.definition;
}

qint64 numberOf(Database& database, const QByteArray& pragma)
{
    Statement statement(database, "PRAGMA " + pragma);
    return statement.next() ? statement.readInteger() : 0;
}

void checkSchema(Database& database)
{
    Statement entries(database, "SELECT name, sql FROM sqlite_schema ORDER BY rowid");
    const Table* expected = std::begin(tables);
    for (; entries.next(); ++expected) {
        const QString name = entries.readText();
        if (expected == std::end(tables) || entries.readText().toUtf8() != definitionOf(*expected))
            return database.fail(QStringLiteral("not a summary of this version: table \"%1\" does "
                                                "not belong there, or was changed")
                                     .arg(name));
    }
    if (expected != std::end(tables))
        database.fail(QStringLiteral("not a summary of this version: table \"%1\" is missing")
                          .arg(QLatin1String(expected->name)));
}

} // namespace

void createTables(Database& database)
{
    for (const Table& table : tables)
        database.execute(definitionOf(table));
    database.execute("PRAGMA application_id=" + QByteArray::number(applicationId));
    database.execute("PRAGMA user_version=" + QByteArray::number(version));
}

void seal(Database& database)
{
    const QByteArray checksum = checksumOf(database);
    Statement::inserting(database, checksumTable.name).integer(1).blob(checksum).run();
}

void checkTables(Database& database)
{
    const qint64 application = numberOf(database, "application_id");
    const qint64 found = numberOf(database, "user_version");
    if (application != applicationId)
        database.fail(QStringLiteral("not a summary, but a database of another program"));
    if (found > version)
        database.fail(QStringLiteral("was written by a newer version of this program (format %1, "
                                     "but this version reads format %2)")
                          .arg(found)
                          .arg(version));
    if (found < version)
        database.fail(QStringLiteral("not a summary of this version, but of format %1").arg(found));
    checkSchema(database);
    Statement check(database, "PRAGMA integrity_check(1)");
    const QString result = check.next() ? check.readText() : QString();
    if (result != QLatin1String("ok"))
        database.fail(QStringLiteral("is damaged: ") + result);
    if (Statement(database, "PRAGMA foreign_key_check").next())
        database.fail(QStringLiteral("invalid content: a row refers to a row that is missing"));
    Statement sealed(database, "SELECT sha256 FROM checksum");
    const QByteArray checksum = sealed.next() ? sealed.readBlob() : QByteArray();
    if (checksum != checksumOf(database))
        database.fail(QStringLiteral("is damaged, or was changed by another program: the checksum "
                                     "does not match"));
}

QByteArray checksumOf(Database& database)
{
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const Table& table : tables) {
        if (&table == &checksumTable)
            continue;
        hash.addData(QByteArray(table.name));
        const QByteArray order = table.keys == 1   ? "1"
                                 : table.keys == 2 ? "1, 2"
                                 : table.keys == 3 ? "1, 2, 3"
                                                   : "1, 2, 3, 4";
        Statement rows(database, QByteArray("SELECT * FROM ") + table.name + " ORDER BY " + order);
        while (rows.next()) {
            for (int i = 0; i < rows.columns(); ++i)
                hash.addData(rows.readBytes());
        }
    }
    return hash.result();
}

} // namespace monitor
