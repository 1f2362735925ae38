#include "common/FileReplacement.h"

#include "common/QtText.h"

#include <QFileInfo>

#ifdef Q_OS_UNIX
#include <fcntl.h>
#include <unistd.h>
#endif

namespace sensor {

namespace {

// The order in which a crash keeps the data: contents first, then the name that points at them.
#ifdef Q_OS_UNIX
bool syncToDisk(QSaveFile const& file) {
  return ::fsync(file.handle()) == 0;
}

void syncFolder(QString const& fileName) {
  QByteArray const folder = QFile::encodeName(QFileInfo(fileName).absolutePath());
  int const handle = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle >= 0) {
    ::fsync(handle);
    ::close(handle);
  }
}
#else
bool syncToDisk(QSaveFile const&) {
  return true;
}

void syncFolder(QString const&) {}
#endif

}  // namespace

FileReplacement::FileReplacement(std::string const& name) : mFile(fromUtf8(name)) {
  // An empty name would have a temporary file that can never become a file.
  QFileInfo const old(mFile.fileName());
  if (!name.empty() && (!old.exists() || old.isFile())) {
    mFile.open(QIODevice::WriteOnly);
  }
}

void FileReplacement::write(void const* bytes, std::int64_t count) {
  if (mFailed || !isOpen()) {
    return;
  }
  mFailed = mFile.write(static_cast<char const*>(bytes), count) != count;
  mCount += count;
}

// QSaveFile doesn't report a write of its last buffer that fails, so look at what the disk has.
bool FileReplacement::flush() {
  mFailed = mFailed || !mFile.flush() || mFile.error() != QFileDevice::NoError || mFile.size() != mCount;
  return !mFailed;
}

bool FileReplacement::commit() {
  if (!isOpen()) {
    return false;
  }
  if (!flush() || !syncToDisk(mFile)) {
    mFile.cancelWriting();
  }
  if (!mFile.commit()) {
    return false;
  }
  syncFolder(mFile.fileName());
  return true;
}

bool replaceFile(std::string const& name, std::string_view contents) {
  FileReplacement file(name);
  file.write(contents);
  return file.commit();
}

}  // namespace sensor
