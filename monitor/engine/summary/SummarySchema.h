#pragma once

#include "Database.h"

#include <QtCore/QVector>

namespace monitor
{

// docs/summaries.md describes the tables.

/// The first bytes of every SQLite database, and their number.
constexpr char databaseMagic[] = "SQLite format 3";
constexpr int databaseMagicSize = sizeof databaseMagic;

/// Tells a summary from databases of other programs: "VTRL".
constexpr quint32 applicationId = 0x5654524C;

/// The number of entries in each part of the counts of a signal but the last.
constexpr int entriesPerPart = 4096;

/// Creates the tables of a summary in an empty database.
void createTables(Database& database);

/// Completes a summary with the checksum of its current content.
void seal(Database& database);

/// Checks the structure of a database that need not be trusted: that it is a summary of a known
/// version, intact, with the tables of a summary and nothing else, and that its checksum is right.
/// The result is an error of the database.
void checkTables(Database& database);

/// The SHA-256 of all tables but that of the checksum.
QByteArray checksumOf(Database& database);

} // namespace monitor
