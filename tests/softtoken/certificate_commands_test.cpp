#include "store/certificate.h"
#include "store/token_database.h"
#include "token_fixture.h"

using namespace softtoken_test;

class softtoken_certificate_commands : public token_test {};

TEST_F(softtoken_certificate_commands, generated_certificate_is_on_the_token) {
    make_token("one");
    program_result result = run_tool("generate-cert one --cn 'Example Company'");
    EXPECT_EQ(result.output, "one: CN=Example Company\n");
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 1);
}

TEST_F(softtoken_certificate_commands, imported_certificate_may_be_der_or_pem) {
    make_token("one");
    std::string der = vemra::softtoken::make_certificate("Imported", 30).der;
    write_file(root() + "/der", der);
    write_file(root() + "/pem", vemra::softtoken::certificate_to_pem(der));
    EXPECT_EQ(run_tool("import-cert one " + root() + "/der").output, "one: CN=Imported\n");
    make_token("two");
    EXPECT_EQ(run_tool("import-cert two " + root() + "/pem").output, "two: CN=Imported\n");
}

TEST_F(softtoken_certificate_commands, certificate_that_is_there_is_not_stored_twice) {
    make_token("one");
    std::string der = vemra::softtoken::make_certificate("Imported", 30).der;
    write_file(root() + "/der", der);
    write_file(root() + "/pem", vemra::softtoken::certificate_to_pem(der));
    ASSERT_EQ(run_tool("import-cert one " + root() + "/der").status, 0);
    program_result result = run_tool("import-cert one " + root() + "/pem");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "one: CN=Imported (was there already)\n");
    device_owner device = device_at();
    auto* keypair = VemraPKICryptoGetKeypair(device.get(), 0);
    EXPECT_EQ(VemraPKICryptoGetCertificateCount(keypair), 1);
    VemraPKICryptoFreeKeypair(keypair);
}

TEST_F(softtoken_certificate_commands, chain_is_imported_whole) {
    make_token("one");
    std::string chain = "Company, then its issuer\n";
    for (const char* name : {"Company", "Issuer", "Company 2"}) {
        chain +=
            vemra::softtoken::certificate_to_pem(vemra::softtoken::make_certificate(name, 30).der);
    }
    write_file(root() + "/chain", chain + "that was all\n");
    EXPECT_EQ(run_tool("import-cert one " + root() + "/chain").output,
              "one: CN=Company\none: CN=Issuer\none: CN=Company 2\n");
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 3);
}

TEST_F(softtoken_certificate_commands, chain_with_a_damaged_certificate_is_refused_whole) {
    make_token("one");
    std::string pem =
        vemra::softtoken::certificate_to_pem(vemra::softtoken::make_certificate("Sound", 30).der);
    std::string damaged = pem;
    damaged[damaged.size() / 2] = '!';
    write_file(root() + "/chain", pem + damaged);
    program_result result = run_tool("import-cert one " + root() + "/chain");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("or a damaged one"), std::string::npos) << result.output;
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 0);
}

TEST_F(softtoken_certificate_commands, certificates_are_listed_with_their_numbers) {
    make_token("one");
    write_file(root() + "/der", vemra::softtoken::make_certificate("Foreign", 30).der);
    run_tool("generate-cert one --cn Own");
    run_tool("import-cert one " + root() + "/der");
    EXPECT_EQ(run_tool("certs one").output,
              "NUMBER  PRIVATE KEY SUBJECT\n"
              "     1  here        CN=Own\n"
              "     2  elsewhere   CN=Foreign\n");
}

TEST_F(softtoken_certificate_commands,
       removed_certificate_takes_a_foreign_key_along_and_leaves_the_own) {
    make_token("one");
    write_file(root() + "/der", vemra::softtoken::make_certificate("Foreign", 30).der);
    run_tool("generate-cert one --cn Own");
    run_tool("import-cert one " + root() + "/der");
    EXPECT_EQ(run_tool("remove-cert one 2").output, "one: CN=Foreign removed\n");
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 1);
    EXPECT_EQ(run_tool("remove-cert one 1").output, "one: CN=Own removed, its key pair stays\n");
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 1);
    EXPECT_EQ(run_tool("certs one").output, "NUMBER  PRIVATE KEY SUBJECT\n");
}

TEST_F(softtoken_certificate_commands, foreign_key_stays_while_another_certificate_is_of_it) {
    make_token("one");
    run_tool("generate-cert one --cn Own");
    vemra::softtoken::token_database database(directory("one") + "/token.db");
    database.connection().execute(
        "UPDATE keypair SET private_key = x'';"
        "INSERT INTO certificate (keypair, der) SELECT keypair, der FROM certificate");
    EXPECT_EQ(run_tool("remove-cert one 2").status, 0);
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 1);
    EXPECT_EQ(run_tool("remove-cert one 1").status, 0);
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 0);
}

TEST_F(softtoken_certificate_commands, damaged_certificate_can_be_seen_and_removed) {
    make_token("one");
    run_tool("generate-cert one --cn Own");
    vemra::softtoken::token_database database(directory("one") + "/token.db");
    database.connection().execute("UPDATE certificate SET der = 'nonsense'");
    EXPECT_NE(run_tool("certs one").output.find("1  here        (not a certificate)\n"),
              std::string::npos);
    EXPECT_EQ(run_tool("remove-cert one 1").status, 0);
    EXPECT_EQ(run_tool("fsck one").status, 0);
}

TEST_F(softtoken_certificate_commands, missing_certificate_is_named_with_what_to_do) {
    make_token("one");
    program_result result = run_tool("remove-cert one 1");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output,
              "vemra-softtoken: no certificate 1: see \"vemra-softtoken certs one\"\n");
}

TEST_F(softtoken_certificate_commands, file_without_a_certificate_is_refused) {
    make_token("one");
    write_file(root() + "/text", "no certificate");
    program_result result = run_tool("import-cert one " + root() + "/text");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.output.find("holds no X.509 certificate"), std::string::npos);
    EXPECT_EQ(VemraPKICryptoGetKeypairCount(device_at().get()), 0);
}
