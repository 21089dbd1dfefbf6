#include "testing/postgres_server.h"

#include "testing/file_content.h"
#include "testing/odbc_program.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace qx::test {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kSuperUser = "qx";
// The bytes of the protocol between the test program and its keeper: one command, one answer.
constexpr char kStart = 's';
constexpr char kStop[] = {'f', 'i', 'k'};  // by End
constexpr char kEnd = 'e';
constexpr char kDone = '+';
constexpr char kFailed = '-';
constexpr std::chrono::milliseconds kPause{10};
constexpr int kPausesToReady = 3000;
constexpr int kLookMs = 100;

[[noreturn]] void cannot(const std::string& what) {
  throw std::runtime_error("the PostgreSQL server of the tests: " + what);
}

struct Account {
  uid_t user = geteuid();
  gid_t group = getegid();
};

// Returns the account that the server runs as.
Account serverAccount() {
  Account account;
  if (account.user != 0) return account;
  for (const char* name : {"postgres", "nobody"}) {
    if (const passwd* entry = getpwnam(name)) return {entry->pw_uid, entry->pw_gid};
  }
  cannot("root may not run it, and there is neither 'postgres' nor 'nobody'");
}

void handOver(const fs::path& path, const Account& account) {
  if (lchown(path.c_str(), account.user, account.group) != 0) cannot("chown " + path.string());
}

// Tests create dozens of databases, which is several times as fast on a file system in memory. They
// need a few hundred megabytes of it.
bool isInMemoryWithRoom(const fs::path& folder) {
  constexpr std::uintmax_t kRoom = 4ULL << 30;
  std::error_code error;
  const fs::space_info space = fs::space(folder, error);
  return !error && space.available >= kRoom && access(folder.c_str(), W_OK | X_OK) == 0;
}

fs::path temporaryFolder() {
  fs::path parent = fs::temp_directory_path();
  if (isInMemoryWithRoom("/dev/shm")) parent = "/dev/shm";
  // The path of a Unix socket has 107 characters at most, and the name of PostgreSQL's is long.
  if (parent.string().size() > 60) parent = "/tmp";
  std::string name = (parent / "qx_pg_XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) cannot("no temporary folder");
  fs::permissions(name, fs::perms(0755));
  handOver(name, serverAccount());
  return name;
}

// Turns a new process into the program: without root, with its output in `log`, and with a signal
// to quit when the parent ends.
[[noreturn]] void become(const Account& account, const fs::path& log,
                         const std::vector<std::string>& words) {
  const int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666);
  const int in = open("/dev/null", O_RDONLY);
  if (out < 0 || in < 0 || dup2(in, 0) < 0 || dup2(out, 1) < 0 || dup2(out, 2) < 0) _exit(126);
  if (geteuid() == 0 &&
      (setgroups(0, nullptr) != 0 || setgid(account.group) != 0 || setuid(account.user) != 0)) {
    _exit(126);
  }
  prctl(PR_SET_PDEATHSIG, SIGQUIT);
  if (chdir("/") != 0) _exit(126);
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execv(arguments.front(), arguments.data());
  _exit(127);
}

std::string program(const char* name) { return std::string(QX_POSTGRES_BIN "/") + name; }

// Returns "15" for "postgres (PostgreSQL) 15.18".
std::string majorVersion() {
  const std::unique_ptr<FILE, int (*)(FILE*)> output(
      popen((program("postgres") + " --version").c_str(), "re"), pclose);
  std::array<char, 200> text{};
  if (output == nullptr || fgets(text.data(), text.size(), output.get()) == nullptr) {
    cannot("it does not print its version");
  }
  const std::string_view line(text.data());
  const std::size_t begin = std::min(line.find_first_of("0123456789"), line.size());
  return std::string(line.substr(begin, line.find_first_not_of("0123456789", begin) - begin));
}

void initialise(const fs::path& folder, const Account& account) {
  const pid_t child = fork();
  if (child == 0) {
    become(account, folder / "log",
           {program("initdb"), "--pgdata", (folder / "data").string(), "--username",
            std::string(kSuperUser), "--auth", "trust", "--encoding", "UTF8", "--locale", "C",
            "--wal-segsize", "1", "--no-sync", "--no-instructions"});
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) cannot("initdb failed");
}

// A lock on a file, held as long as the object lives.
class FileLock {
 public:
  explicit FileLock(const std::string& file)
      : descriptor_(open(file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666)) {
    if (descriptor_ >= 0 && flock(descriptor_, LOCK_EX) == 0) return;
    close(descriptor_);
    cannot("no lock on " + file);
  }
  ~FileLock() { close(descriptor_); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int descriptor_;
};

// Creates the cluster of a server. initdb takes seconds, so the build folder keeps one cluster to
// copy. It keeps one per major version, because a server refuses the cluster of another version.
// The lock makes test programs that start at the same time wait for the first initdb.
void makeCluster(const fs::path& folder, const Account& account) {
  const fs::path kept = QX_POSTGRES_CLUSTER "_" + majorVersion();
  const FileLock lock(kept.string() + ".lock");
  if (!fs::exists(kept)) {
    const fs::path fresh = kept.string() + ".new";
    fs::remove_all(fresh);
    initialise(folder, account);
    fs::copy(folder / "data", fresh, fs::copy_options::recursive);
    fs::rename(fresh, kept);
  } else {
    fs::copy(kept, folder / "data", fs::copy_options::recursive);
    handOver(folder / "data", account);
    for (const auto& entry : fs::recursive_directory_iterator(folder / "data")) {
      handOver(entry.path(), account);
    }
    fs::permissions(folder / "data", fs::perms(0700));
  }
}

std::vector<std::string> serverCommand(const fs::path& folder) {
  std::vector<std::string> words{program("postgres"), "-D", (folder / "data").string(), "-k",
                                 folder.string()};
  for (const char* setting : {"listen_addresses=", "unix_socket_permissions=0777", "fsync=off",
                              "full_page_writes=off", "shared_buffers=32MB", "max_connections=70",
                              "autovacuum=off", "wal_level=minimal", "max_wal_senders=0"}) {
    words.insert(words.end(), {"-c", setting});
  }
  return words;
}

void note(const fs::path& folder, const std::string& what) {
  std::ofstream(folder / "log", std::ios::app) << what << "\n";
}

// The keeper process: starts and stops the server on command until the test program ends.
class Keeper {
 public:
  Keeper(fs::path folder, int line, pid_t parent)
      : folder_(std::move(folder)), line_(line), parent_(parent) {}

  void serve() {
    // The processes of a killed server become children of the keeper, which can then wait for them.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    while (const char what = nextCommand()) {
      const char answer = obey(what) ? kDone : kFailed;
      if (write(line_, &answer, 1) != 1) break;
    }
    stop(PostgresServer::End::Immediate);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

 private:
  // A surviving child of a crashed test program may hold the socket open, so the end of the line
  // does not show the end of the program; the parent of this process does.
  bool isAlone() const { return getppid() != parent_; }

  // Returns 0 when the test program has ended.
  char nextCommand() const {
    pollfd line{line_, POLLIN, 0};
    int ready = 0;
    while (ready == 0 && !isAlone()) ready = poll(&line, 1, kLookMs);
    char what = 0;
    return ready > 0 && read(line_, &what, 1) == 1 && what != kEnd ? what : '\0';
  }

  bool obey(char what) {
    try {
      if (what == kStart) return start();
      stop(static_cast<PostgresServer::End>(std::string_view(kStop, 3).find(what)));
      return true;
    } catch (const std::exception& error) {
      note(folder_, error.what());
      return false;
    }
  }

  bool start() {
    if (server_ > 0) return true;
    const Account account = serverAccount();
    if (!fs::exists(folder_ / "data")) makeCluster(folder_, account);
    server_ = fork();
    if (server_ == 0) become(account, folder_ / "log", serverCommand(folder_));
    return waitUntilReady();
  }

  bool waitUntilReady() {
    for (int i = 0; i < kPausesToReady && !isAlone(); ++i) {
      if (waitpid(server_, nullptr, WNOHANG) == server_) {
        server_ = -1;
        return false;
      }
      const std::string state = contentOf(folder_ / "data/postmaster.pid");
      if (state.starts_with(std::to_string(server_) + "\n") &&
          state.find("\nready") != std::string::npos) {
        return true;
      }
      std::this_thread::sleep_for(kPause);
    }
    return false;
  }

  void stop(PostgresServer::End how) {
    if (server_ < 0) return;
    kill(server_, how == PostgresServer::End::Fast     ? SIGINT
                  : how == PostgresServer::End::Killed ? SIGKILL
                                                       : SIGQUIT);
    // The connection processes of a killed server keep its shared memory until they notice its end;
    // a new server would not start before that.
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    server_ = -1;
  }

  fs::path folder_;
  int line_;
  pid_t parent_;
  pid_t server_ = -1;
};

}  // namespace

PostgresServer& PostgresServer::shared() {
  static PostgresServer server;
  return server;
}

PostgresServer::PostgresServer() : folder_(temporaryFolder()), owner_(getpid()) {
  std::array<int, 2> ends{};
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) cannot("no sockets");
  keeper_ = fork();
  if (keeper_ == 0) {
    close(ends[0]);
    setsid();  // an interrupt from the terminal must not end the keeper before it has cleaned up
    Keeper(folder_, ends[1], owner_).serve();
    _exit(0);
  }
  close(ends[1]);
  line_ = ends[0];
  start();
}

PostgresServer::~PostgresServer() {
  if (getpid() != owner_) {
    // A child process of a test must neither stop the server nor end the connection of its parent.
    [[maybe_unused]] static const OdbcProgram* const leftToTheParent = creator_.release();
    return;
  }
  creator_.reset();
  if (write(line_, &kEnd, 1) == 1) waitpid(keeper_, nullptr, 0);
  close(line_);
}

std::string PostgresServer::createDatabase(std::string_view model) {
  // A connection takes longer than the copy, so one serves all databases.
  if (creator_ == nullptr) creator_ = std::make_unique<OdbcProgram>(connection("postgres"));
  // Copying the files takes a third of the processor time of the default, which writes each block
  // to the log as well. Servers before version 15 always copy files and do not know the option.
  const bool hasStrategies = std::stoi(creator_->ask("SHOW server_version_num")) >= 150000;
  const std::string name = "company" + std::to_string(++databases_);
  creator_->run("CREATE DATABASE " + name + " TEMPLATE " + std::string(model) +
                (hasStrategies ? " STRATEGY FILE_COPY" : ""));
  return name;
}

std::string PostgresServer::connection(std::string_view database) const {
  return "Driver=PostgreSQL Unicode;Server=" + folder_.string() +
         ";Database=" + std::string(database) + ";Uid=" + std::string(kSuperUser);
}

void PostgresServer::run(std::string_view database, const std::string& sql) const {
  OdbcProgram(connection(database)).run(sql);
}

std::string PostgresServer::ask(std::string_view database, const std::string& sql) const {
  return OdbcProgram(connection(database)).ask(sql);
}

void PostgresServer::stop(End how) {
  creator_.reset();
  command(kStop[static_cast<std::size_t>(how)]);
}

void PostgresServer::start() { command(kStart); }

void PostgresServer::command(char what) {
  char answer = kFailed;
  if (write(line_, &what, 1) != 1 || read(line_, &answer, 1) != 1 || answer != kDone) fail();
}

void PostgresServer::fail() const { cannot("it does not start\n" + contentOf(folder_ / "log")); }

}  // namespace qx::test
