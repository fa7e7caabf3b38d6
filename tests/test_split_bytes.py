"""Which bytes of the input come out, which are dropped, and which stop a run."""

import base64

import pytest

from varnel_run import HEADER, ONE_SERVER, SUCCESS, failed_split, m


@pytest.fixture
def ready(site):
    site.configure(*ONE_SERVER)
    return site


def expect_split(site, data, rest=b"", one=b""):
    """The records behind the headers of rest.ldif and one.ldif."""
    site.write("in.ldif", data)
    before = site.tree()
    site.run().expect(0, *SUCCESS)
    assert site.tree() == {
        **before,
        "run.log": b"",
        "rest.ldif": HEADER + rest if rest else b"",
        "one.ldif": HEADER + one if one else b"",
    }


def expect_stop(site, data, line, *messages, behind=(), rest=b"", one=b""):
    """The run stops at `line`, and the log says so; what came before is written."""
    site.write("in.ldif", data)
    before = site.tree()
    site.run().expect(2 if line <= 9 else 1, *failed_split(*messages, m(34, line), *behind))
    assert site.tree() == {
        **before,
        "run.log": b"%d\n" % line,
        "rest.ldif": HEADER + rest if rest else b"",
        "one.ldif": HEADER + one if one else b"",
    }


def invalid(site, line):
    return m(33, line, site.absolute("in.ldif"))


def byte_order_mark(site):
    return m(74, site.absolute("in.ldif"), "text behind a UTF-8 byte order mark")


def encoded(dn):
    return base64.b64encode(dn)


# --- Attribute lines ------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "line",
    [
        b"cn: plain\n",
        b"cn:no blank\n",
        b"cn:\n",
        b"cn: \n",
        b"cn:   leading and trailing  \n",
        b"cn : blank before the colon\n",
        b"cn: carriage return\r\n",
        b"cn: folded\n  twice\n \n",
        b"cn: folded\r\n here\r\n",
        b"c\n n: folded inside the type\n",
        b"cn:: QmFzZTY0\n",
        b"cn::QmFzZTY0\n",
        b"cn:: Qm\n FzZTY0\n",
        b"cn:: \n",
        b"cn:: QR==\n",
        b"cn:< file:///etc/passwd\n",
        b"cn:<\n",
        b"cn;lang-de;x-1: options\n",
        b"cn;binary:: QQ==\n",
        b"2.5.4.3: a number\n",
        b"oid.2.5.4.3: a number\n",
        b"a_b-c.d: other letters\n",
        b"DN: another type\n",
        b"Dn: another type\n",
        b"dn;x: with an option\n",
        b"cn: utf-8 \xc3\xa4\xe2\x82\xac\n",
        b"cn: no utf-8 \xff\xfe\x80\n",
        b"cn: tab\tand\x01\x7f controls\n",
        b"cn: a lone\rcarriage return\n",
        b"cn:\ttab\n",
        b"cn: # no comment\n",
        b"cn: dn: o=other\n",
        b"changetype: add\n",
        b"control: 1.2.3 true: x\n",
        b"version: 1\n",
    ],
    ids=lambda line: line.decode("latin-1").encode("unicode_escape").decode(),
)
def test_an_attribute_line_is_written_exactly_as_read(ready, line):
    expect_split(ready, b"dn: o=x\n" + line + b"sn: next\n",
                 rest=b"\ndn: o=x\n" + line + b"sn: next\n")


def test_a_line_without_a_line_end_is_written_without_one(ready):
    expect_split(ready, b"dn: o=x\ncn: last", rest=b"\ndn: o=x\ncn: last")


def test_a_fold_without_a_line_end_is_written_without_one(ready):
    expect_split(ready, b"dn: o=x\ncn: folded\n last", rest=b"\ndn: o=x\ncn: folded\n last")


def test_a_line_of_base64_with_a_line_feed_in_it_stays_encoded(ready):
    line = b"cn:: " + base64.b64encode(b"x\ndn: o=smuggled\n") + b"\n"
    expect_split(ready, b"dn: o=x\n" + line, rest=b"\ndn: o=x\n" + line)


# --- Lines that are dropped -----------------------------------------------------------------------


@pytest.mark.parametrize(
    "dropped",
    [b"# comment\n", b"#\n", b"# folded\n comment\n  more\n", b"\n", b"\n\n\n", b"\r\n", b"\r\n\r\n",
     b"\r\r\n", b"\rcn: behind a carriage return\n", b"\0cn: behind a NUL\n", b"\0\n",
     b"#dn: o=hidden\n", b"\n folded blank line\n"],
    ids=lambda line: line.decode("latin-1").encode("unicode_escape").decode(),
)  # fmt: skip
@pytest.mark.parametrize("place", ["before", "between", "inside", "behind"])
def test_a_line_that_is_dropped(ready, dropped, place):
    first, second, record = b"dn: o=x\na: 1\n", b"b: 2\n", b"dn: o=y\nc: 3\n"
    data = {
        "before": dropped + first + second + record,
        "between": first + second + dropped + record,
        "inside": first + dropped + second + record,
        "behind": first + second + record + dropped,
    }[place]
    expect_split(ready, data, rest=b"\ndn: o=x\na: 1\nb: 2\n\ndn: o=y\nc: 3\n")


def test_records_need_no_blank_line_between_them(ready):
    expect_split(ready, b"dn: o=x\ndn: o=example\na: 1\ndn: o=y\n",
                 rest=b"\ndn: o=x\n\ndn: o=y\n", one=b"\ndn: o=example\na: 1\n")


def test_lines_before_the_first_record_are_parsed_and_written_nowhere(ready):
    expect_split(ready, b"version: 1\nstray: line\n\ndn: o=x\n", rest=b"\ndn: o=x\n")


def test_a_blank_line_does_not_end_a_record(ready):
    expect_split(ready, b"dn: o=example\na: 1\n\nb: 2\n", one=b"\ndn: o=example\na: 1\nb: 2\n")


def test_a_separator_line_of_a_change_record(ready):
    expect_stop(ready, b"dn: o=x\nchangetype: modify\nadd: cn\ncn: 1\n-\n", 5, invalid(ready, 5),
                rest=b"\ndn: o=x\nchangetype: modify\nadd: cn\ncn: 1\n")


# --- The line of the DN ---------------------------------------------------------------------------


@pytest.mark.parametrize(
    "line, written",
    [
        (b"dn: o=example\n", b"o=example"),
        (b"dn:o=example\n", b"o=example"),
        (b"dn:    o=example\n", b"o=example"),
        (b"dn : o=example\n", b"o=example"),
        (b"dn: o=example  \n", b"o=example  "),
        (b"dn: O = Example\n", b"O = Example"),
        (b"dn: o=example\r\n", b"o=example"),
        (b"dn: o=exa\n mple\n", b"o=example"),
        (b"dn: o=exa\r\n mple\r\n", b"o=example"),
        (b"dn:\n o=example\n", b"o=example"),
        (b"dn:\n  o=example\n", b"o=example"),
        (b"d\n n: o=example\n", b"o=example"),
        (b"dn\n : o=example\n", b"o=example"),
        (b"dn: o=example\n \n", b"o=example"),
        (b"dn:: " + encoded(b"o=example") + b"\n", b"o=example"),
        (b"dn::" + encoded(b"O=Example") + b"\r\n", b"O=Example"),
        (b"dn:: " + encoded(b"o=example")[:5] + b"\n " + encoded(b"o=example")[5:] + b"\n",
         b"o=example"),
        (b"dn:: " + encoded(b"  o=example") + b"\n", b"o=example"),
        (b"dn:: " + encoded(b"o=example ") + b"\n", b"o=example "),
        (b"dn:: " + encoded(b"o=exam\0ple") + b"\n", b"o=exam\\00ple"),
        (b"dn:: " + encoded(b"o=\x01example\x7f") + b"\n", b"o=\\01example\\7F"),
        (b"dn:: " + encoded(b"o=example\\\n") + b"\n", b"o=example\\0A"),
        (b"dn:: " + encoded(b"o=example\\ ") + b"\n", b"o=example\\20"),
    ],
    ids=lambda value: value.decode("latin-1").encode("unicode_escape").decode(),
)  # fmt: skip
def test_the_dn_is_written_unfolded_decoded_and_otherwise_as_it_was_written(ready, line, written):
    expect_split(ready, line + b"a: 1\n", one=b"\ndn: " + written + b"\na: 1\n")


@pytest.mark.parametrize(
    "dn, written",
    [
        (b"o=x\ncn: smuggled", b"o=x\\0Acn: smuggled"),
        (b"o=x\n\ndn: o=example", b"o=x\\0A\\0Adn: o=example"),
        (b"o=x\r\n cn: smuggled", b"o=x\\0D\\0A cn: smuggled"),
        (b"o=x\\\ncn: smuggled", b"o=x\\0Acn: smuggled"),
        (b"o=x\\\\\ncn: smuggled", b"o=x\\\\\\0Acn: smuggled"),
        (b"o=\"x\ncn: smuggled\"", b"o=\"x\\0Acn: smuggled\""),
        (b"o=" + b"\n" * 50, b"o=" + b"\\0A" * 50),
    ],
    ids=lambda value: value.decode("latin-1").encode("unicode_escape").decode(),
)
def test_an_encoded_dn_cannot_smuggle_lines(ready, dn, written):
    expect_split(ready, b"dn:: " + encoded(dn) + b"\na: 1\n", rest=b"\ndn: " + written + b"\na: 1\n")


@pytest.mark.parametrize("dn", [b"\xc3\xa4", b"\xff", b"\xe2\x82\xac x"])
def test_an_encoded_dn_beyond_ascii_is_written_as_its_bytes(ready, dn):
    expect_split(ready, b"dn:: " + encoded(b"o=" + dn) + b"\n", rest=b"\ndn: o=" + dn + b"\n")


@pytest.mark.parametrize(
    "value",
    [b" x", b"", b"   ", b" o", b" =x", b" o=x,", b" ,o=x", b" o=x,,o=y", b" o=x+", b" o=x\\",
     b' o="x', b' o="x" y', b" o x=y", b"\to=x", b": ", b": " + encoded(b"o=x,"),
     b": " + encoded(b"\n"), b"< file:///dev/null"],
    ids=lambda value: value.decode("latin-1").encode("unicode_escape").decode(),
)  # fmt: skip
def test_a_value_that_is_no_dn_stops_the_run_without_the_message_on_the_line(ready, value):
    expect_stop(ready, b"dn: o=y\na: 1\ndn:" + value + b"\n", 3, rest=b"\ndn: o=y\na: 1\n")


# --- Lines that are no LDIF -----------------------------------------------------------------------


@pytest.mark.parametrize(
    "line",
    [b"no colon\n", b": no type\n", b"::\n", b"c n: blank inside\n", b"cn$: x\n", b"\xc3\xa4: x\n",
     b"cn;: empty option\n", b"cn;;x: empty option\n", b";x: no type\n", b"cn;\xc3\xa4: x\n",
     b"cn\t: x\n", b"-\n", b"\t\n", b"cn:: QQ\n", b"cn:: QQ=\n", b"cn:: Q Q==\n", b"cn:: QQ==  \n",
     b"cn:: Q\n", b"cn:: ====\n", b"cn:: QQ==QQ==\n", b"cn:: Q*==\n", b"cn:: QQ==\\\n",
     b"\xef\xbb\xbfcn: x\n", b"dn:: QQ\n", b"cn\n x\n",
     b"\x0bcn: x\n", b"x\0y: NUL before the colon\n", b"cn\0: NUL before the colon\n",
     b"dn: o=x\0y\n", b"dn: o=x\0\n", b"d\0n: o=x\n", b"dn:\0 o=x\n", b"dn: o=x\n \0\n"],
    ids=lambda line: line.decode("latin-1").encode("unicode_escape").decode(),
)  # fmt: skip
@pytest.mark.parametrize("place", ["in a record", "before the first record"])
def test_a_line_that_is_no_ldif(ready, line, place):
    folds = line.count(b"\n ")
    if place == "in a record":
        number = 3 + folds
        expect_stop(ready, b"dn: o=y\na: 1\n" + line + b"b: 2\n", number, invalid(ready, number),
                    rest=b"\ndn: o=y\na: 1\n")
    else:
        number = 1 + folds
        behind = [byte_order_mark(ready)] if line.startswith(b"\xef\xbb\xbf") else []
        expect_stop(ready, line + b"b: 2\n", number, invalid(ready, number), behind=behind)


@pytest.mark.parametrize("line", [b"a: NUL \0 in a value\n", b"a:\0\n", b"a: \0\n", b"a: x\0\n",
                                  b"a: folded\n \0\n"])
def test_a_nul_byte_in_a_value_is_copied(ready, line):
    expect_split(ready, b"dn: o=x\n" + line + b"b: 2\n", rest=b"\ndn: o=x\n" + line + b"b: 2\n")


def test_a_nul_byte_at_the_start_of_the_input_drops_that_line(ready):
    expect_split(ready, b"\0dn: o=x\n\ndn: o=y\n", rest=b"\ndn: o=y\n")


def test_a_first_line_that_continues_nothing(ready):
    expect_stop(ready, b" dn: o=x\n", 1, invalid(ready, 1))


def test_a_byte_order_mark_at_the_start_is_no_ldif(ready):
    expect_stop(ready, b"\xef\xbb\xbfdn: o=x\n", 1, invalid(ready, 1), behind=[byte_order_mark(ready)])


def test_lines_that_end_in_carriage_return_alone_are_one_line(ready):
    """The one line has a DN with all the rest in its value, and the value is a DN."""
    expect_split(ready, b"dn: o=x\rcn: y\r\n", rest=b"\ndn: o=x\rcn: y\n")


# --- Line numbers and statuses --------------------------------------------------------------------


@pytest.mark.parametrize("line, status", [(1, 2), (8, 2), (9, 2), (10, 1), (11, 1), (1000, 1)])
def test_the_status_tells_the_first_nine_lines_from_the_rest(ready, line, status):
    ready.write("in.ldif", b"# comment\n" * (line - 1) + b"no colon\n")
    ready.run().expect(status, *failed_split(invalid(ready, line), m(34, line)))
    assert ready.read("run.log") == b"%d\n" % line


@pytest.mark.parametrize("line, status", [(9, 2), (10, 1)])
def test_the_status_of_a_dn_that_is_none(ready, line, status):
    ready.write("in.ldif", b"\n" * (line - 1) + b"dn: none\n")
    ready.run().expect(status, *failed_split(m(34, line)))


def test_the_number_of_a_folded_line_is_that_of_its_last_part(ready):
    expect_stop(ready, b"dn: o=x\nno colon\n folded\n  twice\n", 4, invalid(ready, 4),
                rest=b"\ndn: o=x\n")
    assert ready.read("run.log") == b"4\n"


def test_the_log_gains_one_line_with_every_failed_run(ready):
    ready.write("run.log", b"57\n")
    ready.write("in.ldif", b"dn: o=x\nno colon\n")
    ready.run().expect(2, *failed_split(invalid(ready, 2), m(34, 2)))
    assert ready.read("run.log") == b"57\n2\n"
    (ready.path / "rest.ldif").unlink()
    (ready.path / "one.ldif").unlink()
    ready.run().expect(2, *failed_split(invalid(ready, 2), m(34, 2)))
    assert ready.read("run.log") == b"57\n2\n2\n"


def test_a_successful_run_leaves_the_log_as_it_was(ready):
    ready.write("run.log", b"57")
    ready.write("in.ldif", b"dn: o=x\n\n")
    ready.run().expect(0, *SUCCESS)
    assert ready.read("run.log") == b"57"


def test_the_lines_of_the_record_before_a_failure_are_written(ready):
    many = b"".join(b"a: %d\n" % i for i in range(5000))
    expect_stop(ready, b"dn: o=x\n" + many + b"no colon\n", 5002, invalid(ready, 5002),
                rest=b"\ndn: o=x\n" + many)
