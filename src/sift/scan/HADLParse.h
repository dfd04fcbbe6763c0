// The parse phase: the full analysers of both front-ends over the standard library
// sources and then the project's files in compile order, and the records of units
// declared in more than one file, completed with the line each file declares them at.
#pragma once

#include <string>

class HADLSifter;

class HADLParse {
public:
    explicit HADLParse(HADLSifter& sifter) : sifter(sifter) {}

    void doParse();

    // Analyses one file into `library` by its language code (top bit ignored): 0 and
    // codes above 7 go to the VHDL front-end, the rest to the Verilog one. Failures
    // show in the messages only.
    static void analyzeFile(const std::string& path, const std::string& library, unsigned lang);

    // Takes the unit's spelling and line from the analysed library into the duplicate
    // record at `index`.
    void updateDuplicate(unsigned index);

private:
    HADLSifter& sifter;
};
