"""Configurations that are accepted, and hold what is seldom meant: warnings, and nothing else."""

import pytest

from varnel_run import (
    FILE1, FILE2, GLOBAL_LINES, HEADER, INPUT, LOG, ONE_SERVER, SUCCESS, TWO_SERVERS, URL1, URL2,
    at_line, failed_configuration, m,
)  # fmt: skip

DATA = b"dn: o=example\no: example\n\ndn: o=x\n"


def with_line(old, new, lines=TWO_SERVERS):
    return [new if line == old else line for line in lines]



@pytest.mark.parametrize(
    "value, warned",
    [('"one"', True), ("one #two", True), ("one # two", True), ('"', False), ('one"', False),
     ('"one', False), ("one#two", False), ("one", False), ('o"n"e', False), ('""', True)],
)  # fmt: skip
def test_quotation_marks_and_comments_of_a_file_name(site, value, warned):
    site.write("in.ldif", DATA)
    site.configure(*with_line(FILE1, f"file: {value}", ONE_SERVER))
    warning = [m(72, "file", value, 8)] if warned else []
    site.run().expect(0, *warning, *SUCCESS)
    assert site.read(value).startswith(HEADER)


def test_quotation_marks_of_a_url_come_before_its_error(site):
    site.write("in.ldif", DATA)
    line = 'url: "ldap://one"'
    site.configure(*with_line(URL1, line))
    site.run().expect(1, *failed_configuration(
        m(72, "url", '"ldap://one"', 7), m(6, '"ldap://one"', "url"), at_line(7, line)))


def test_each_line_with_such_a_value_is_told(site):
    site.write("in.ldif", DATA)
    site.configure(*GLOBAL_LINES, "BaseDN: o=example #1", URL1, "file: a # b", URL2, 'file: "c"')
    site.run().expect(0, m(72, "basedn", "o=example #1", 6), m(72, "file", "a # b", 8),
                      m(72, "file", '"c"', 10), *SUCCESS)


def test_quotation_marks_of_other_keys_are_not_told(site):
    site.write("in #1", DATA)
    site.configure(*with_line(INPUT, "inputfile: in #1", with_line(LOG, 'logfile: "l"')))
    site.run().expect(0, *SUCCESS)


@pytest.mark.parametrize(
    "base, shown",
    [("cn=a+sn=b,o=example", "CN=A+SN=B,O=EXAMPLE"), ("sn=b + cn=a", "CN=A+SN=B"),
     ("cn=a\\+b,o=example", None), ('cn="a+b",o=example', None), ("o=x,cn=a+sn=b", None)],
)  # fmt: skip
def test_a_base_dn_whose_first_rdn_has_several_values(site, base, shown):
    site.write("in.ldif", DATA)
    site.configure(*GLOBAL_LINES, "", f"basedn: {base}", URL1, FILE1)
    site.run().expect(0, *([m(65, shown, 7)] if shown else []), *SUCCESS)


def test_each_base_dn_of_several_values_is_told(site):
    site.write("in.ldif", DATA)
    site.configure(*GLOBAL_LINES, "basedn: a=1+b=2", URL1, FILE1, "basedn: a=1+c=2", URL2, FILE2)
    site.run().expect(0, m(65, "A=1+B=2", 6), m(65, "A=1+C=2", 9), *SUCCESS)


def test_servers_of_one_base_dn_that_have_one_url(site):
    """Once for each base DN, the same URL for another one apart."""
    lines = [*GLOBAL_LINES]
    for base, urls in [("o=z", "aba"), ("o=example", "cddcc"), ("o=y", "ab")]:
        lines.append(f"basedn: {base}")
        for number, url in enumerate(urls):
            lines += [f"file: {base[2:]}{number}", f"url: ldap://{url}"]
    site.write("in.ldif", DATA)
    site.configure(*lines)
    site.run().expect(0, m(71, "O=EXAMPLE", "ldap://d"), m(71, "O=Z", "ldap://a"), *SUCCESS)


def test_urls_that_differ_are_not_told(site):
    site.write("in.ldif", DATA)
    site.configure(*TWO_SERVERS, "url: ldap://two:636", "file: three.ldif")
    site.run().expect(0, *SUCCESS)
