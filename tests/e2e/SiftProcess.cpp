#include "SiftProcess.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

SiftResult runSift(const char* arg, const std::string& input, const std::string& dir) {
    int inPipe[2], outPipe[2];
    if (pipe(inPipe) != 0 || pipe(outPipe) != 0) throw std::runtime_error("pipe");
    pid_t pid = fork();
    if (pid == 0) {
        dup2(inPipe[0], STDIN_FILENO);
        dup2(outPipe[1], STDOUT_FILENO);
        int devNull = open("/dev/null", O_WRONLY);
        dup2(devNull, STDERR_FILENO);
        close(inPipe[1]);
        close(outPipe[0]);
        if (chdir(dir.c_str()) != 0) _exit(127);
        if (arg) {
            execl(SIFT_BINARY, SIFT_BINARY, arg, static_cast<char*>(nullptr));
        } else {
            execl(SIFT_BINARY, SIFT_BINARY, static_cast<char*>(nullptr));
        }
        _exit(127);
    }
    close(inPipe[0]);
    close(outPipe[1]);
    if (!input.empty() && write(inPipe[1], input.data(), input.size()) < 0) {
        throw std::runtime_error("write");
    }
    close(inPipe[1]);
    SiftResult result;
    char buffer[4096];
    ssize_t n;
    while ((n = read(outPipe[0], buffer, sizeof buffer)) > 0) result.out.append(buffer, n);
    close(outPipe[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    return result;
}

ShmScript::ShmScript(const std::string& name, const std::string& text, size_t size)
    : name_(name[0] == '/' ? name : "/" + name) {
    int fd = shm_open(name_.c_str(), O_CREAT | O_RDWR | O_TRUNC, 0600);
    if (fd < 0) throw std::runtime_error("shm_open " + name_);
    size_t total = std::max(size, text.size());
    if (ftruncate(fd, static_cast<off_t>(total)) != 0 ||
        write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        close(fd);
        throw std::runtime_error("shm write " + name_);
    }
    close(fd);
}

ShmScript::~ShmScript() { shm_unlink(name_.c_str()); }

std::string makeTempDir() {
    std::string pattern = "/tmp/sift_e2e_XXXXXX";
    if (!mkdtemp(&pattern[0])) throw std::runtime_error("mkdtemp");
    return pattern;
}

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

std::string uniqueName(const std::string& stem) {
    static int counter = 0;
    return stem + "_" + std::to_string(getpid()) + "_" + std::to_string(++counter);
}
