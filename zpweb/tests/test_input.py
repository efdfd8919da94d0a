"""What is refused before anything is read."""
import pytest

LONG = "a" * 64 + ".example"

REJECTED = [
    (["site", "status", name], "host name") for name in (
        "test..com", ".example", "example.", "a\nb.example", "a\rb.example", "<a>.example", "shop.example\\", LONG,
        ".".join(["a" * 60] * 5), "a-.example", "a.-b.example", "a b.example", "a_b.example", "192.0.2.1", "",
        "xn--\x80.example", "\u2603\u0300\u202e.example", "shop.example:80", "a$(id).example")
] + [
    (["site", "create", "a.example", "--owner", "anna", "--address", address], "address")
    for address in ("", "1.2.3", "1.2.3.4.5", "[::1]", "::1::", "256.1.1.1", "1.2.3.4 ", "1.2.3.4\n", "*")
] + [
    (["site", "create", "a.example", "--address", "192.0.2.1", "--owner", "anna", "--path", path], "path")
    for path in ("home", "", "/a/../b", "/a\nb", "/a\x01", "/a\\", '/a"b', "/a<b", "/" + "x" * 300)
] + [
    (["site", "create", "a.example", "--address", "192.0.2.1", "--owner", owner], "account")
    for owner in ("nobody-has-this", "", "root:root", "../x")
] + [
    (["site", "port", "a.example", port], "port") for port in ("0", "65536", "80a", "", "8 0")
] + [
    (["site", "set", "a.example", "--mode", mode], "mode") for mode in ("8", "0", "77777", "rwx")
] + [
    (["user", "add", "a.example", user], "user name") for user in ("a:b", "", "a b", "a\nb", "a'b")
] + [
    (["site", "set", "a.example", "--redirect", value], "assignment")
    for value in ("/x", "=y", "/x=a\nb", "/x=a\\", "/x=<b>", '/x="')
] + [
    (["directive", "add", "Options", value, "--site", "a.example"], "text") for value in ("a\nb", "None\\", "<x>")
]


@pytest.mark.parametrize("words, kind", REJECTED)
def test_a_wrong_value_is_named_in_one_line_before_anything_is_read(machine, words, kind):
    before = machine.tree()
    answer = machine.run(*words, input="secret\n")
    assert answer.status == 2, answer
    lines = answer.err.strip().splitlines()
    assert len(lines) == 1 and kind in lines[0] and "expected" in lines[0], answer
    assert machine.tree() == before


@pytest.mark.parametrize("words, told", [
    ([], "subcommand"), (["site"], "subcommand"), (["sight"], '"sight"'), (["site", "nonsense", "x"], '"site nonsense"'),
    (["site", "create"], "NAME"), (["site", "status", "--what"], '"--what"'), (["--json", "site", "status", "-a.example"], '"-a.example"'),
    (["site", "status", "--", "-a.example"], "host name")])
def test_a_wrong_command_line_is_a_usage_error(machine, words, told):
    answer = machine.run(*words, conf=False)
    assert answer.status == 2 and told in answer.err and len(answer.err.splitlines()) == 1, answer


def test_an_internationalised_name_is_stored_in_ascii_and_shown_in_both_forms(machine):
    created = machine.create("Bücher.example", "--json")
    assert created.status == 0 and created.json["site"] == "xn--bcher-kva.example"
    assert created.json["entered"] == "bücher.example"
    assert "ServerName xn--bcher-kva.example" in machine.text() and "ü" not in machine.text()
    row = machine.do("site", "list", "--json").json["sites"][0]
    assert (row["name"], row["readable"]) == ("xn--bcher-kva.example", "bücher.example")
    for name in ("bücher.example", "BÜCHER.example", "xn--bcher-kva.example"):
        assert "running" in machine.do("site", "status", name).out


def test_a_password_never_comes_from_the_command_line_and_is_never_shown(site, tmp_path):
    secret = tmp_path / "secret"
    secret.write_text("s3cret-word\n")
    for words in (["user", "add", "shop.example", "joe", "--password-file", secret],
                  ["protect", "add", site.root / "www", "joe", "--password-file", secret]):
        answer = site.do(*words, "--verbose", "--diff", "--json")
        assert "s3cret-word" not in answer.out + answer.err
    assert "s3cret-word" not in (site.root / ".zpweb/audit.log").read_text()
    assert site.run("user", "add", "shop.example", "x", "password").status == 2
