#include "platform/dirclient/DnNormalizer.h"

#include <algorithm>

#include "platform/dirclient/DnParser.h"
#include "platform/dirclient/NormalFormScan.h"
#include "platform/dirclient/normalizeValue.h"
#include "platform/text/upperCaseCopy.h"

namespace dirclient {
namespace {

constexpr std::size_t usualAvaCount = 12;

void appendInUpperCase(std::string_view from, std::pmr::string& text) {
  const std::size_t size = text.size();
  text.resize(size + from.size());
  text::upperCaseCopy(from.data(), from.size(), text.data() + size);
}

void appendType(std::string_view type, const schema::AttributeType* attribute,
                std::pmr::string& text) {
  if (attribute != nullptr) {
    text += attribute->canonicalType;
    return;
  }
  appendInUpperCase(type, text);
}

void appendValue(const WrittenAva& ava, const schema::AttributeType* attribute,
                 const schema::Schema* schema, int nesting, std::pmr::string& text) {
  if (ava.form == WrittenAva::Form::ber) {
    text += '#';
    appendInUpperCase(ava.value, text);
    return;
  }
  const auto rule = attribute != nullptr ? attribute->equality : schema::EqualityRule::none;
  if (ava.value.find('\\') == std::string_view::npos) {
    appendNormalValue(ava.value, rule, schema, nesting, text);
    return;
  }
  // Given back at once: a name may have any number of values.
  std::array<std::byte, 512> stack;
  std::pmr::monotonic_buffer_resource memory(stack.data(), stack.size());
  std::pmr::string bytes(&memory);
  bytes.reserve(ava.value.size());
  appendUnescaped(ava.value, bytes);
  appendNormalValue(bytes, rule, schema, nesting, text);
}

}  // namespace

DnNormalizer::DnNormalizer(const schema::Schema* schema, int nesting)
    : schema_(schema),
      nesting_(nesting),
      memory_(stack_.data(), stack_.size()),
      avas_(&memory_),
      writtenBuffer_(&memory_),
      sortedBuffer_(&memory_) {}

bool DnNormalizer::normalize(std::string_view dn) {
  avas_.reserve(usualAvaCount);
  if (scan(dn)) {
    return true;
  }
  return parse(dn) || fail();
}

bool DnNormalizer::scan(std::string_view dn) {
  NormalFormScan scan(dn, schema_, NormalFormScan::Accept::everyByte);
  if (!scan.run([this](const NormalAva& ava) { avas_.push_back(ava); })) {
    return false;
  }
  rdnCount_ = scan.rdnCount();
  written_ = dn;
  if (scan.sawOutsideAscii() || scan.sawLowerCase()) {
    write(dn);
  }
  sortAvas();
  return true;
}

/// Writes all in upper case but the values that are to be prepared, and those whose case counts.
void DnNormalizer::write(std::string_view dn) {
  std::size_t copied = 0;  // of the DN
  writtenBuffer_.reserve(dn.size() + dn.size() / 8);
  const auto copyUpTo = [&](std::size_t end) {
    appendInUpperCase(dn.substr(copied, end - copied), writtenBuffer_);
    copied = end;
  };
  for (NormalAva& ava : avas_) {
    const std::string_view type = dn.substr(ava.begin, ava.equals - ava.begin);
    const std::string_view value = dn.substr(ava.equals + 1, ava.end - ava.equals - 1);
    const std::size_t moved = writtenBuffer_.size() - copied;  // by so much, for now
    ava.begin += moved;
    ava.equals += moved;
    if (ava.isAscii && ava.ignoresCase) {
      ava.end += moved;
      continue;
    }
    copyUpTo(ava.equals + 1 - moved);
    if (ava.isAscii) {
      writtenBuffer_ += value;
    } else {
      const schema::AttributeType* const attribute =
          schema_ != nullptr ? schema_->findAttributeType(type) : nullptr;
      const auto rule = attribute != nullptr ? attribute->equality : schema::EqualityRule::none;
      appendNormalValue(value, rule, schema_, nesting_, writtenBuffer_);
    }
    copied += value.size();
    ava.end = writtenBuffer_.size();
  }
  copyUpTo(dn.size());
  written_ = writtenBuffer_;
}

bool DnNormalizer::parse(std::string_view dn) {
  avas_.clear();
  writtenBuffer_.reserve(dn.size() + dn.size() / 8);
  DnParser parser(dn);
  WrittenAva ava;
  DnParser::Step step = DnParser::Step::end;
  while ((step = parser.next(ava)) == DnParser::Step::ava) {
    if (!avas_.empty()) {
      writtenBuffer_ += avas_.back().lastInRdn ? ',' : '+';
    }
    NormalAva normal{writtenBuffer_.size(), 0, 0, ava.lastInRdn, false, false};
    const schema::AttributeType* attribute =
        schema_ != nullptr ? schema_->findAttributeType(ava.type) : nullptr;
    appendType(ava.type, attribute, writtenBuffer_);
    normal.equals = writtenBuffer_.size();
    writtenBuffer_ += '=';
    appendValue(ava, attribute, schema_, nesting_, writtenBuffer_);
    normal.end = writtenBuffer_.size();
    avas_.push_back(normal);
    if (ava.lastInRdn && ++rdnCount_ > maximalRdnCount) {
      return false;
    }
  }
  if (step == DnParser::Step::error) {
    return false;
  }
  written_ = writtenBuffer_;
  sortAvas();
  return true;
}

/// Makes the text from what was written: the parts of each RDN in the order of their bytes.
void DnNormalizer::sortAvas() {
  const auto textOf = [this](const NormalAva& ava) {
    return written_.substr(ava.begin, ava.end - ava.begin);
  };
  const auto before = [&](const NormalAva& a, const NormalAva& b) { return textOf(a) < textOf(b); };
  const auto isOutOfOrder = [&](const NormalAva& a, const NormalAva& b) {
    return !a.lastInRdn && before(b, a);
  };

  text_ = written_;
  if (static_cast<std::size_t>(rdnCount_) == avas_.size() ||
      std::adjacent_find(avas_.begin(), avas_.end(), isOutOfOrder) == avas_.end()) {
    return;
  }
  std::pmr::vector<NormalAva> sorted(avas_, avas_.get_allocator());
  sortedBuffer_.reserve(written_.size());
  for (auto rdn = sorted.begin(); rdn != sorted.end();) {
    const auto last =
        std::find_if(rdn, sorted.end(), [](const auto& ava) { return ava.lastInRdn; });
    std::sort(rdn, last + 1, before);
    for (; rdn != last + 1; ++rdn) {
      sortedBuffer_ += textOf(*rdn);
      sortedBuffer_ += rdn == last ? ',' : '+';
    }
  }
  sortedBuffer_.pop_back();
  text_ = sortedBuffer_;
}

bool DnNormalizer::fail() {
  avas_.clear();
  written_ = {};
  text_ = {};
  rdnCount_ = 0;
  return false;
}

}  // namespace dirclient
