#pragma once

#include "app/platform/DesktopFolders.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace Larkhaven {

/// A desktop of its own, with browsers that are scripts.
class ScriptedBrowsers {
public:
    ScriptedBrowsers()
    {
        for (const char* name : {"config", "data/applications", "bin", "runtime"})
            EXPECT_TRUE(QDir().mkpath(path(QString::fromLatin1(name))));
        folders.config = {path(QStringLiteral("config"))};
        folders.data = {path(QStringLiteral("data"))};
        folders.searchPath = {path(QStringLiteral("bin"))};
    }

    QString path(const QString& name) const { return m_folder.filePath(name); }
    QString runtime() const { return path(QStringLiteral("runtime")); }
    QString noted() const { return path(QStringLiteral("noted")); }

    void write(const QString& name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        ASSERT_TRUE(QDir().mkpath(QFileInfo(file).path()));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << qPrintable(name);
        file.write(bytes);
    }
    QByteArray read(const QString& name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// A program that notes its arguments, a line each, and then does what the script says.
    QString addProgram(const QString& name, const QByteArray& script = "exec sleep 60") const
    {
        const QString file = QStringLiteral("bin/") + name;
        write(file, "#!/bin/sh\nfor argument; do echo \"$argument\"; done > " + noted().toUtf8() +
                        ".new\nmv " + noted().toUtf8() + ".new " + noted().toUtf8() + "\n" + script + "\n");
        QFile::setPermissions(path(file), QFile::permissions(path(file)) | QFileDevice::ExeOwner);
        return path(file);
    }
    void addEntry(const QString& id, const QString& exec, const QByteArray& actions = {}) const
    {
        write(QStringLiteral("data/applications/") + id,
              "[Desktop Entry]\nType=Application\nExec=" + exec.toUtf8() + "\n" + actions);
    }
    void setDefault(const QByteArray& ids) const
    {
        write(QStringLiteral("config/mimeapps.list"),
              "[Default Applications]\nx-scheme-handler/https=" + ids + "\n");
    }
    /// A script under this name is the default browser.
    void useBrowser(const QString& name, const QByteArray& script = "exec sleep 60",
                    const QByteArray& actions = {}) const
    {
        addEntry(QStringLiteral("browser.desktop"), addProgram(name, script) + QStringLiteral(" %u"),
                 actions);
        setDefault("browser.desktop;");
    }

    QStringList arguments() const
    {
        QStringList lines = QString::fromUtf8(read(QStringLiteral("noted"))).split(u'\n');
        lines.removeLast();
        return lines;
    }
    /// The folders of profiles, and what else lies beside them.
    QStringList profiles() const
    {
        return QDir(path(QStringLiteral("runtime/larkhaven")))
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    DesktopFolders folders;

private:
    QTemporaryDir m_folder;
};

} // namespace Larkhaven
