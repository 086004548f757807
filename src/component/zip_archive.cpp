#include "component/zip_archive.h"

#include <zip.h>

#include <algorithm>
#include <memory>

#include "musedata/converter_error.h"

namespace musedata {
namespace {

struct CloseArchive {
  void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct CloseFile {
  void operator()(zip_file_t* file) const { zip_fclose(file); }
};
struct FreeSource {
  void operator()(zip_source_t* source) const { zip_source_free(source); }
};
using Archive = std::unique_ptr<zip_t, CloseArchive>;
using ArchiveFile = std::unique_ptr<zip_file_t, CloseFile>;
using Source = std::unique_ptr<zip_source_t, FreeSource>;

[[noreturn]] void RaiseZipError(const std::string& name, const std::string& what) {
  throw ConverterError(5, "musedata", name + ": " + what);
}

std::string ErrorText(zip_error_t& error) {
  std::string text = zip_error_strerror(&error);
  zip_error_fini(&error);
  return text;
}

// A zip source over `bytes` that the caller keeps alive; libzip reads it in place.
Source SourceOver(std::string_view bytes, zip_error_t& error) {
  return Source(zip_source_buffer_create(bytes.data(), bytes.size(), 0, &error));
}

}  // namespace

bool LooksLikeZip(std::string_view bytes) noexcept {
  return bytes.substr(0, 4) == std::string_view("PK\x03\x04", 4) ||
         bytes.substr(0, 4) == std::string_view("PK\x05\x06", 4);  // an empty container
}

std::vector<ZipEntry> ReadZipArchive(std::string_view bytes, const std::string& name,
                                     const std::function<bool(std::string_view)>& wanted,
                                     const ZipLimits& limits) {
  zip_error_t error;
  zip_error_init(&error);
  Source source = SourceOver(bytes, error);
  if (!source) RaiseZipError(name, "cannot read the zip container: " + ErrorText(error));
  // No ZIP_CHECKCONS: writers that unzip and Python read (local headers whose
  // extra fields differ from the central directory's, bytes before the
  // first entry or after the end record) are read as those readers read them.
  Archive archive(zip_open_from_source(source.get(), ZIP_RDONLY, &error));
  if (!archive) RaiseZipError(name, "not a zip container (" + ErrorText(error) + ")");
  zip_error_fini(&error);
  source.release();  // the archive owns its source now

  const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
  if (count < 0 || static_cast<uint64_t>(count) > limits.entries)
    RaiseZipError(name, "the container holds " + std::to_string(count) + " entries, more than " +
                            std::to_string(limits.entries) + " that any score needs; not read");
  std::vector<ZipEntry> entries;
  uint64_t total = 0;
  for (zip_int64_t index = 0; index < count; ++index) {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive.get(), static_cast<zip_uint64_t>(index), 0, &stat) != 0 ||
        !stat.name)
      continue;
    ZipEntry entry{stat.name, {}};
    if (entry.name.empty() || entry.name.back() == '/') continue;  // a folder
    if (wanted && !wanted(entry.name)) {
      entries.push_back(std::move(entry));
      continue;
    }
    const uint64_t compressed = (stat.valid & ZIP_STAT_COMP_SIZE) ? stat.comp_size : 0;
    ArchiveFile file(zip_fopen_index(archive.get(), static_cast<zip_uint64_t>(index), 0));
    if (!file)
      RaiseZipError(name, "cannot open " + entry.name + ": " + zip_strerror(archive.get()));
    char buffer[1 << 16];
    for (;;) {
      const zip_int64_t read = zip_fread(file.get(), buffer, sizeof buffer);
      if (read < 0)
        RaiseZipError(name, "cannot inflate " + entry.name + ": " + zip_file_strerror(file.get()));
      if (read == 0) break;
      const uint64_t size = entry.bytes.size() + static_cast<uint64_t>(read);
      if (size > limits.entryBytes)
        RaiseZipError(name, entry.name + " inflates to more than " +
                                std::to_string(limits.entryBytes >> 20) +
                                " MB, larger than any score; not read");
      if (total + size > limits.totalBytes)
        RaiseZipError(name, "the container's files inflate to more than " +
                                std::to_string(limits.totalBytes >> 20) +
                                " MB together, more than any score; not read");
      if (size > limits.ratioFrom && size / std::max<uint64_t>(compressed, 1) > limits.ratio)
        RaiseZipError(name, entry.name + " inflates to more than " + std::to_string(limits.ratio) +
                                " times its compressed size, which no score does; not read");
      entry.bytes.append(buffer, static_cast<size_t>(read));
    }
    total += entry.bytes.size();
    entries.push_back(std::move(entry));
  }
  return entries;
}

std::string MakeZipArchive(const std::vector<ZipEntry>& entries, bool storeFirst) {
  zip_error_t error;
  zip_error_init(&error);
  Source buffer(zip_source_buffer_create(nullptr, 0, 0, &error));
  if (!buffer) RaiseZipError("zip container", ErrorText(error));
  Archive archive(zip_open_from_source(buffer.get(), ZIP_TRUNCATE, &error));
  if (!archive) RaiseZipError("zip container", ErrorText(error));
  zip_error_fini(&error);
  // The archive writes into the buffer source when it is closed; keep the
  // source alive past that to read the result back.
  zip_source_keep(buffer.get());
  for (size_t i = 0; i < entries.size(); ++i) {
    zip_source_t* data =
        zip_source_buffer(archive.get(), entries[i].bytes.data(), entries[i].bytes.size(), 0);
    if (!data) RaiseZipError(entries[i].name, zip_strerror(archive.get()));
    const zip_int64_t index =
        zip_file_add(archive.get(), entries[i].name.c_str(), data, ZIP_FL_ENC_UTF_8);
    if (index < 0) {
      zip_source_free(data);
      RaiseZipError(entries[i].name, zip_strerror(archive.get()));
    }
    const bool store = storeFirst && i == 0;
    zip_set_file_compression(archive.get(), static_cast<zip_uint64_t>(index),
                             store ? ZIP_CM_STORE : ZIP_CM_DEFLATE, 0);
  }
  if (zip_close(archive.get()) != 0) RaiseZipError("zip container", zip_strerror(archive.get()));
  archive.release();  // closed and freed by zip_close

  std::string bytes;
  zip_stat_t stat;
  zip_stat_init(&stat);
  if (zip_source_stat(buffer.get(), &stat) != 0 || zip_source_open(buffer.get()) != 0)
    RaiseZipError("zip container", "cannot read back the written container");
  bytes.resize(static_cast<size_t>(stat.size));
  const zip_int64_t read = zip_source_read(buffer.get(), bytes.data(), stat.size);
  zip_source_close(buffer.get());
  if (read < 0 || static_cast<zip_uint64_t>(read) != stat.size)
    RaiseZipError("zip container", "cannot read back the written container");
  return bytes;
}

}  // namespace musedata
