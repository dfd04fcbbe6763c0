// Every catalogue of the program, checked together: ids unique across them, each text
// under an id of a catalogue with that id's type, formats that parse, and the
// framework's lookup by format text built from its catalogue.
#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "hdl/base/MessageFormat.h"
#include "hdl/sv/VeriParserMessageIds.h"
#include "hdl/vhdl/VhdlMessageIds.h"
#include "sift/base/HADLMessages.h"
#include "sift/shell/CommandMessages.h"

using namespace hdl;

namespace {

struct Catalogued {
    const MessageCatalogue* catalogue;
    const char* idPattern; // how the ids of the catalogue are spelled
};

const std::vector<Catalogued>& allCatalogues() {
    static const std::vector<Catalogued> all = {
        {&veri_msg::LexCatalogue(), "VERI-[12][0-9]{3}"},
        {&veri_msg::ParseCatalogue(), "VERI-1[0-9]{3}"},
        {&vhdl_msg::Catalogue(), "VHDL-1[0-9]{3}"},
        {&cmd_msg::Catalogue(), "CMD-[0-9]{4}"},
        {&hadl_msg::Catalogue(), "(VERI|VHDL|VBSR)-[0-9]{4}|56-[0-9]{3}"},
    };
    return all;
}

} // namespace

TEST(MessageCatalogues, IdsAreUniqueAcrossAllCatalogues) {
    std::map<std::string, std::string> owner;
    for (const Catalogued& c : allCatalogues()) {
        const std::regex spelling(c.idPattern);
        EXPECT_FALSE(c.catalogue->ids.empty()) << c.catalogue->title;
        for (const MessageId* id : c.catalogue->ids) {
            EXPECT_TRUE(std::regex_match(id->id, spelling)) << c.catalogue->title << ": " << id->id;
            auto [it, fresh] = owner.emplace(id->id, c.catalogue->title);
            EXPECT_TRUE(fresh) << id->id << " is in " << it->second << " and in " << c.catalogue->title;
        }
    }
}

TEST(MessageCatalogues, EachTextStandsUnderACataloguedIdWithAWellFormedFormat) {
    std::map<std::string, msg_type_t> types;
    for (const Catalogued& c : allCatalogues())
        for (const MessageId* id : c.catalogue->ids) types[id->id] = id->type;
    std::set<std::pair<std::string, std::string>> seen;
    for (const Catalogued& c : allCatalogues()) {
        for (const MessageText* text : c.catalogue->texts) {
            const std::string where = std::string(c.catalogue->title) + ": \"" + text->format + "\"";
            auto type = types.find(text->id.id);
            ASSERT_NE(type, types.end()) << where << " stands under an id no catalogue defines";
            EXPECT_EQ(type->second, text->id.type) << where;
            EXPECT_NE(text->id.type, MSG_NONE) << where << ": a text needs an id that is told";
            EXPECT_GE(message_format::ArgumentCount(text->format), 0) << where;
            EXPECT_TRUE(seen.emplace(text->id.id, text->format).second) << where << " is there twice";
        }
    }
}

// The texts the parent and the tests know by heart: a catalogue edit must not move them.
TEST(MessageCatalogues, FixedTextsKeepTheirIdsAndWords) {
    EXPECT_STREQ(veri_msg::AnalyzingFile.id.id, "VERI-1482");
    EXPECT_STREQ(veri_msg::AnalyzingFile.format, "Analyzing %s file '%s'");
    EXPECT_EQ(veri_msg::AnalyzingFile.id.type, MSG_INFO);
    EXPECT_STREQ(vhdl_msg::AnalyzingFile.id.id, "VHDL-1500");
    EXPECT_STREQ(hadl_msg::ProtectedSourceUnreadable.format, "@56-286@%s");
    EXPECT_STREQ(hadl_msg::ProtectedSourceFailed.format, "@56-287@%s%s");
    EXPECT_STREQ(hadl_msg::ConfigurationTopsLeftOut.format, "@56-434@%s%s");
    EXPECT_EQ(hadl_msg::ConfigurationTopsLeftOut.id.type, MSG_WARNING);
    EXPECT_STREQ(hadl_msg::ConfigurationNameClash.format, "@56-440@%s");
    EXPECT_EQ(cmd_msg::Catalogue().texts.size(), 16u);
}

TEST(MessageCatalogues, FrameworkFindsTheIdOfEachFormatItTells) {
    for (const MessageText* text : cmd_msg::Catalogue().texts)
        EXPECT_STREQ(commandMessageId(text->format), text->id.id) << text->format;
    EXPECT_STREQ(commandMessageId("%s: unknown option -%s"), "CMD-1002");
    EXPECT_STREQ(commandMessageId("%s: option -%s previously set; overwriting value '%s'"), "CMD-1012");
    EXPECT_EQ(commandMessageId("%s: unknown option"), nullptr);
    EXPECT_EQ(commandMessageId(nullptr), nullptr);
}
