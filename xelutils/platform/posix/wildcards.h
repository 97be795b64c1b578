// Masks for names: a rule about text, without any system call.
#pragma once

// Whether `name` fits `mask`, both terminated. "*" stands for any units, also none, "?" for
// exactly one; case does not count.
//
//   "*.txt", "A.TXT"   =>  true
//   "a?",    "a"       =>  false
//   "*.*",   "README"  =>  true: a mask of its own, for every name
//
// Time grows with the product of the lengths at most.
bool MatchWildcard(const wchar_t* mask, const wchar_t* name);

// Whether the mask is one that asks for every name: "*" or "*.*".
bool MatchesEveryName(const wchar_t* mask);

bool HasWildcard(const wchar_t* mask);
