#include "EnvelopeMaker.h"

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <boost/filesystem.hpp>

namespace {

void shell(const std::string& command) {
    if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);
}

std::string script() { return std::string(SIFT_PYTHON) + " -B " + SIFT_ENVELOPE_PY; }

} // namespace

EnvelopeMaker::EnvelopeMaker() {
    namespace fs = boost::filesystem;
    dir = (fs::temp_directory_path() / fs::unique_path("sift-envelope-%%%%-%%%%-%%%%")).string();
    fs::create_directories(dir + "/ring");
}

EnvelopeMaker::~EnvelopeMaker() {
    boost::system::error_code ec;
    boost::filesystem::remove_all(dir, ec);
}

void EnvelopeMaker::key(const std::string& name, unsigned bits) {
    shell(script() + " key " + ring() + " " + name + " " + std::to_string(bits));
    boost::filesystem::rename(ring() + "/" + name + ".pub", dir + "/" + name + ".pub");
}

std::string EnvelopeMaker::write(const std::string& file, const std::string& text) {
    std::string path = dir + "/" + file;
    std::ofstream(path, std::ios::binary) << text;
    return path;
}

std::string EnvelopeMaker::protect(const std::string& file, const std::string& text,
                                   const std::vector<std::string>& keys, const std::string& options) {
    std::string plain = write(file + ".plain", text);
    std::string command = script() + " protect " + options;
    for (const std::string& k : keys) command += " --key Acme:" + k + ":" + dir + "/" + k + ".pub";
    std::string path = dir + "/" + file;
    shell(command + " " + plain + " " + path);
    boost::filesystem::remove(plain);
    return path;
}

std::string EnvelopeMaker::read(const std::string& file) const {
    std::ifstream in(dir + "/" + file, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}
