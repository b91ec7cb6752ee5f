#pragma once

#include <engine/summary/SummaryReader.h>
#include <engine/summary/SummaryWriter.h>

#include <gtest/gtest.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

/// Writes and reads summaries in a temporary directory.
class SummaryFiles : public testing::Test
{
protected:
    QString path(const QString& name) const { return directory.filePath(name); }

    static QByteArray contentOf(const QString& fileName)
    {
        QFile file(fileName);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << fileName.toStdString();
        return file.readAll();
    }

    /// Writes a summary of \a session to a new file and returns its path.
    QString write(monitor::Session& session)
    {
        const QString fileName = path(QString::number(++written));
        QFile file(fileName);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(monitor::writeSummary(fileName, {&session}), QString());
        return fileName;
    }

    /// Adds all runs of a summary to \a merged. Returns an error message.
    static QString read(const QString& fileName, monitor::MergedRun& merged)
    {
        monitor::SummaryReader reader;
        QString error = reader.open(fileName);
        for (const monitor::SummaryRun& run : reader.runs())
            error += reader.addTo(merged, run, QFileInfo(fileName).fileName());
        return error;
    }

    /// Merges summaries in the given order. Returns the path of the result.
    QString merge(const QStringList& fileNames)
    {
        monitor::MergedRun merged(3);
        for (const QString& fileName : fileNames)
            EXPECT_EQ(read(fileName, merged), QString());
        return write(merged.session());
    }

private:
    QTemporaryDir directory;
    int written = 0;
};
