#include "tests/support/served_files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/uio.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr char kDevice[] = "/dev/fuse";
constexpr std::size_t kLongestRequest = std::size_t{256} * 1024;
// Numbers of files: the root is 1.
constexpr std::uint64_t kFirstFile = 2;

template <typename In>
In Read(const std::string& request) {
    In in{};
    const std::size_t size = request.size() - sizeof(fuse_in_header);
    std::memcpy(&in, request.data() + sizeof(fuse_in_header), std::min(size, sizeof(in)));
    return in;
}

}  // namespace

ServedFiles::ServedFiles(std::string folder, std::vector<File> files)
    : m_folder(std::move(folder)), m_files(std::move(files)) {
    if (::access(kDevice, F_OK) != 0) {
        // A private "/dev" has none.
        (void)::mknod(kDevice, S_IFCHR | 0600, makedev(10, 229));
    }
    m_device.Reset(::open(kDevice, O_RDWR | O_CLOEXEC));
    m_end.Reset(::eventfd(0, EFD_CLOEXEC));
    const std::string options =
        "fd=" + std::to_string(m_device.Get()) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
    m_isMounted = m_device && ::mount("corvane-test", m_folder.c_str(), "fuse",
                                      MS_NOSUID | MS_NODEV, options.c_str()) == 0;
    if (m_isMounted) {
        m_thread = std::thread([this] { Serve(); });
    }
}

ServedFiles::~ServedFiles() {
    if (m_isMounted) {
        constexpr std::uint64_t kOnce = 1;
        (void)!::write(m_end.Get(), &kOnce, sizeof(kOnce));
        m_thread.join();
        m_device.Reset();
        ::umount2(m_folder.c_str(), MNT_DETACH);
    }
}

void ServedFiles::Serve() {
    std::string request(kLongestRequest, '\0');
    while (true) {
        std::array<pollfd, 2> polled{{{m_device.Get(), POLLIN, 0}, {m_end.Get(), POLLIN, 0}}};
        (void)::poll(polled.data(), polled.size(), -1);
        if (polled[1].revents != 0) {
            return;
        }
        request.resize(kLongestRequest);
        const auto got = ::read(m_device.Get(), request.data(), request.size());
        if (got >= static_cast<ssize_t>(sizeof(fuse_in_header))) {
            request.resize(static_cast<std::size_t>(got));
            Answer(request);
        } else if (got < 0 && errno == ENODEV) {
            return;
        }
    }
}

fuse_attr ServedFiles::AttributesOf(std::uint64_t node) const {
    fuse_attr attributes{};
    attributes.ino = node;
    attributes.nlink = 1;
    attributes.blksize = 4096;
    if (node < kFirstFile) {
        attributes.mode = S_IFDIR | 0755;
        attributes.nlink = 2;
        return attributes;
    }
    attributes.mode = S_IFREG | 0644;
    attributes.size = m_files.at(node - kFirstFile).content.size();
    attributes.mtime = attributes.ctime = m_time;
    return attributes;
}

void ServedFiles::Reply(std::uint64_t unique, int error, const void* data, std::size_t size) {
    fuse_out_header header{static_cast<std::uint32_t>(sizeof(fuse_out_header) + size), error,
                           unique};
    std::array<iovec, 2> parts{
        {{&header, sizeof(header)}, {const_cast<void*>(data), size}}};  // only read
    (void)!::writev(m_device.Get(), parts.data(), size > 0 ? 2 : 1);
}

bool ServedFiles::HangsAt(std::uint32_t what) const {
    return m_hangs || (m_hangsAtReads && what == FUSE_READ) ||
           (m_hangsAtLooks && what == FUSE_GETATTR);
}

void ServedFiles::Answer(const std::string& request) {
    fuse_in_header header{};
    std::memcpy(&header, request.data(), sizeof(header));
    if (header.opcode == FUSE_FORGET || header.opcode == FUSE_BATCH_FORGET ||
        header.opcode == FUSE_INTERRUPT) {
        return;
    }
    if (header.opcode == FUSE_INIT) {
        const auto in = Read<fuse_init_in>(request);
        fuse_init_out out{};
        out.major = FUSE_KERNEL_VERSION;
        out.minor = std::min<std::uint32_t>(in.minor, FUSE_KERNEL_MINOR_VERSION);
        out.max_write = 65536;
        ReplyWith(header.unique, out);
        return;
    }
    ++m_questions;
    m_reads += header.opcode == FUSE_READ ? 1 : 0;
    if (HangsAt(header.opcode)) {
        ++m_hung;
        return;
    }
    switch (header.opcode) {
        case FUSE_LOOKUP: {
            const std::string name(request.c_str() + sizeof(header));
            const auto found = std::find_if(m_files.begin(), m_files.end(),
                                            [&](const File& each) { return each.name == name; });
            if (found == m_files.end()) {
                Reply(header.unique, -ENOENT);
                return;
            }
            fuse_entry_out out{};
            out.nodeid = kFirstFile + static_cast<std::uint64_t>(found - m_files.begin());
            out.attr = AttributesOf(out.nodeid);
            ReplyWith(header.unique, out);
            return;
        }
        case FUSE_GETATTR: {
            fuse_attr_out out{};
            out.attr = AttributesOf(header.nodeid);
            ReplyWith(header.unique, out);
            return;
        }
        case FUSE_OPEN:
        case FUSE_OPENDIR: {
            fuse_open_out out{};
            out.open_flags = FOPEN_DIRECT_IO;
            ReplyWith(header.unique, out);
            return;
        }
        case FUSE_READ: {
            const auto in = Read<fuse_read_in>(request);
            const std::string& content = m_files.at(header.nodeid - kFirstFile).content;
            const std::string part =
                in.offset < content.size() ? content.substr(in.offset, in.size) : std::string();
            Reply(header.unique, 0, part.data(), part.size());
            return;
        }
        case FUSE_STATFS: {
            fuse_statfs_out out{};
            out.st.namelen = 255;
            out.st.bsize = 4096;
            ReplyWith(header.unique, out);
            return;
        }
        case FUSE_READDIR:
        case FUSE_FLUSH:
        case FUSE_RELEASE:
        case FUSE_RELEASEDIR:
            Reply(header.unique, 0);
            return;
        default:
            Reply(header.unique, -ENOSYS);
    }
}
