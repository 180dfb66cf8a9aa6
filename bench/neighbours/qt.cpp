#include "bench/neighbours/side.h"

#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStorageInfo>
#include <QSysInfo>
#include <QThread>

namespace
{

using side::Folder;
using side::require;

QString text(const std::string& from)
{
    return QString::fromStdString(from);
}

long walk(Folder folder, const QStringList& names)
{
    long files = 0;
    QDirIterator entries{text(folder + "/tree"), names, QDir::Files | QDir::Hidden,
                         QDirIterator::Subdirectories};
    for (; entries.hasNext(); ++files)
        entries.next();
    return files;
}

long copy(const std::string& from, const std::string& to)
{
    return QFile::copy(text(from), text(to)) ? 1 : 0;
}

long zeros(Folder folder)
{
    QFile file{text(folder + "/out")};
    bool done = file.open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    for (long written = 0; written < side::large_size(); ++written)
        done &= file.write(side::block().data(), static_cast<qint64>(side::block().size())) > 0;
    return done ? 1 : 0;
}

long spawn(const std::vector<std::string>& words)
{
    QStringList arguments;
    for (std::size_t word = 1; word < words.size(); ++word)
        arguments << text(words[word]);
    QProcess process;
    process.start(text(words[0]), arguments);
    require(process.waitForFinished(-1) && process.exitCode() == 0, words[0]);
    return static_cast<long>(process.readAllStandardOutput().size());
}

long volumes()
{
    long count = 0;
    for (const QStorageInfo& volume : QStorageInfo::mountedVolumes())
        count += volume.bytesTotal() > 0 ? 1 : 0;
    return count;
}

} // namespace

int main(int argc, char** argv)
{
    return side::main(
        argc, argv,
        {
            {"walk", [](Folder folder) { return walk(folder, {}); }},
            {"filter", [](Folder folder) { return walk(folder, {"*.txt"}); }},
            {"copy_large", [](Folder folder) { return copy(folder + "/large", folder + "/out"); }},
            {"copy_small", [](Folder folder) { return side::each_small(folder, copy); }},
            {"delete", [](Folder folder)
             { return QDir{text(folder + "/doomed")}.removeRecursively() ? 1L : 0L; }},
            {"zeros", zeros},
            {"volume",
             [](Folder folder) { return QStorageInfo{text(folder)}.bytesTotal() > 0 ? 1L : 0L; }},
            {"volumes", [](Folder) { return volumes(); }},
            {"spawn", [](Folder) { return QProcess::execute(text(side::command_true), {}) + 1L; }},
            {"execute", [](Folder) { return spawn(side::command_echo); }},
            {"capture", [](Folder) { return spawn(side::command_much); }},
            {"identity",
             [](Folder)
             {
                 return QSysInfo::prettyProductName().isEmpty() ||
                                QSysInfo::kernelVersion().isEmpty() ||
                                QSysInfo::currentCpuArchitecture().isEmpty() ||
                                QSysInfo::machineHostName().isEmpty()
                            ? 0L
                            : static_cast<long>(QThread::idealThreadCount());
             }},
        });
}
