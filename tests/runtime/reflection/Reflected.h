// Reflection objects made from short texts, and what an operation comes to in a word.
#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "VornAcl.h"
#include "runtime/reflection/IntrospectionReactor.h"
#include "runtime/reflection/Path.h"

namespace VornTest {

using Kro::GenericIf;
using Kro::Ptr;
using Kro::String8;
using Op = GenericIf::AttributeOp;

inline Ptr<Kro::KroType const> typeOf(std::string const& fullName) {
  auto const type = Kro::KroType::typeNode(fullName.c_str());
  return type ? type : throw Kro::RangeException("no type " + String8(fullName.c_str()));
}

/// The value that "TYPE TEXT" tells, as "U8 5".
inline Ptr<GenericIf> value(std::string const& text, bool isConst = false) {
  std::size_t const blank = text.find(' ');
  return typeOf(text.substr(0, blank))->genericIf(text.substr(blank + 1).c_str(), isConst);
}

/// The argument list that "TYPE TEXT; TYPE TEXT" tells.
inline Ptr<GenericIf> list(std::string const& text) {
  std::vector<Ptr<GenericIf>> elements;
  for (std::size_t from = 0; from < text.size();) {
    std::size_t const to = std::min(text.find("; ", from), text.size());
    elements.push_back(value(text.substr(from, to - from)));
    from = to + 2;
  }
  return GenericIf::List_::of(elements);
}

inline Op operation(int id, int opId) { return {static_cast<std::uint32_t>(id), opId}; }

/// The text of what an action yields, "null" for none; of an error, a letter and its subject: C const, T wrong type,
/// A surplus argument, I index given, ! operation not supported, ? no such attribute, E any other.
template <class Action>
std::string outcomeOf(Action action) {
  auto const text = [](char const* kind, String8 const& subject) { return kind + std::string(subject.view()); };
  try {
    Ptr<GenericIf> const result = action();
    return result ? std::string(result->strRep().view()) : "null";
  } catch (Kro::ConstException const& error) {
    return text("C", error.subject());
  } catch (Kro::TypeException const& error) {
    return text("T:", error.subject());
  } catch (Kro::UnknownArgException const& error) {
    return text("A:", error.subject());
  } catch (Kro::BadIndexAttrException const& error) {
    return text("I:", error.subject());
  } catch (Kro::OpNotSupportedException const&) {
    return "!";
  } catch (Kro::UnknownAttrException const&) {
    return "?";
  } catch (Kro::Exception const& error) {
    return text("E:", error.message());
  }
}

/// What a command prints.
inline std::string outputOf(std::string const& command) {
  std::string output;
  if (auto* const pipe = popen(command.c_str(), "r")) {
    for (int c = 0; (c = fgetc(pipe)) != EOF;) {
      output += static_cast<char>(c);
    }
    pclose(pipe);
  }
  return output;
}

}  // namespace VornTest
