// SPDX-License-Identifier: MIT
// The floors: what the tokenizer and the generator take by themselves.
#include "peers/DocumentCases.h"

#include <yajl/yajl_gen.h>
#include <yajl/yajl_parse.h>

#include <cstdint>

namespace bench {

namespace {

const unsigned char* bytes_of(std::string_view text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

// ----- Tokenizing, with callbacks that do nothing ------------------------------------------------

const yajl_callbacks kEmptyCallbacks = {[](void*) { return 1; },
                                        [](void*, int) { return 1; },
                                        [](void*, long long) { return 1; },
                                        [](void*, double) { return 1; },
                                        nullptr, // with a number callback numbers stay text
                                        [](void*, const unsigned char*, std::size_t) { return 1; },
                                        [](void*) { return 1; },
                                        [](void*, const unsigned char*, std::size_t) { return 1; },
                                        [](void*) { return 1; },
                                        [](void*) { return 1; },
                                        [](void*) { return 1; }};

class Tokenizer {
public:
    explicit Tokenizer(const yajl_callbacks& callbacks, void* context = nullptr)
        : handle_(yajl_alloc(&callbacks, nullptr, context)) {
        // The same options as gatecast's.
        yajl_config(handle_, yajl_allow_comments, 1);
        yajl_config(handle_, yajl_dont_validate_strings, 1);
    }
    Tokenizer(const Tokenizer&) = delete;
    Tokenizer& operator=(const Tokenizer&) = delete;
    ~Tokenizer() { yajl_free(handle_); }

    void parse(std::string_view text) { yajl_parse(handle_, bytes_of(text), text.size()); }
    yajl_status complete() { return yajl_complete_parse(handle_); }

private:
    yajl_handle handle_;
};

// ----- Generating from a tree that is ready: a flat list of what is to be called -----------------

struct Token {
    enum Kind : std::uint8_t {
        Null,
        Boolean,
        Integer,
        Real,
        Text,
        OpenMap,
        CloseMap,
        OpenArray,
        CloseArray
    };
    Kind kind;
    union {
        long long integer;
        double real;
        std::size_t begin;
    };
    std::size_t length = 0;
};

class Tokens {
public:
    explicit Tokens(std::string_view text) {
        static const yajl_callbacks callbacks = {
            [](void* self) { return add(self, Token::Null); },
            [](void* self, int value) { return add(self, Token::Boolean, value); },
            [](void* self, long long value) { return add(self, Token::Integer, value); },
            [](void* self, double value) {
                add(self, Token::Real);
                static_cast<Tokens*>(self)->list_.back().real = value;
                return 1;
            },
            nullptr,
            &addText,
            [](void* self) { return add(self, Token::OpenMap); },
            &addText,
            [](void* self) { return add(self, Token::CloseMap); },
            [](void* self) { return add(self, Token::OpenArray); },
            [](void* self) { return add(self, Token::CloseArray); }};
        Tokenizer tokenizer(callbacks, this);
        tokenizer.parse(text);
        tokenizer.complete();
    }

    void generate(yajl_gen generator) const {
        for (const Token& token : list_) {
            switch (token.kind) {
            case Token::Null:
                yajl_gen_null(generator);
                break;
            case Token::Boolean:
                yajl_gen_bool(generator, token.integer != 0);
                break;
            case Token::Integer:
                yajl_gen_integer(generator, token.integer);
                break;
            case Token::Real:
                yajl_gen_double(generator, token.real);
                break;
            case Token::Text:
                yajl_gen_string(generator, bytes_of(texts_) + token.begin, token.length);
                break;
            case Token::OpenMap:
                yajl_gen_map_open(generator);
                break;
            case Token::CloseMap:
                yajl_gen_map_close(generator);
                break;
            case Token::OpenArray:
                yajl_gen_array_open(generator);
                break;
            case Token::CloseArray:
                yajl_gen_array_close(generator);
                break;
            }
        }
    }

private:
    static int add(void* self, Token::Kind kind, long long value = 0) {
        Token token{};
        token.kind = kind;
        token.integer = value;
        static_cast<Tokens*>(self)->list_.push_back(token);
        return 1;
    }
    static int addText(void* self, const unsigned char* text, std::size_t length) {
        auto* const tokens = static_cast<Tokens*>(self);
        Token token{};
        token.kind = Token::Text;
        token.begin = tokens->texts_.size();
        token.length = length;
        tokens->list_.push_back(token);
        tokens->texts_.append(reinterpret_cast<const char*>(text), length);
        return 1;
    }

    std::vector<Token> list_;
    std::string texts_;
};

void register_floors() {
    for_each_corpus("parse", "yajl", [](benchmark::State& state, const Corpus& corpus) {
        for ([[maybe_unused]] auto _ : state) {
            Tokenizer tokenizer(kEmptyCallbacks);
            tokenizer.parse(corpus.text);
            benchmark::DoNotOptimize(tokenizer.complete());
        }
    });
    for_each_corpus("parse_in_pieces", "yajl", [](benchmark::State& state, const Corpus& corpus) {
        const std::string_view text = corpus.text;
        for ([[maybe_unused]] auto _ : state) {
            Tokenizer tokenizer(kEmptyCallbacks);
            for (std::size_t at = 0; at < text.size(); at += 160) {
                tokenizer.parse(text.substr(at, 160));
            }
            benchmark::DoNotOptimize(tokenizer.complete());
        }
    });
    for (const bool pretty : {false, true}) {
        for_each_corpus(pretty ? "print_pretty" : "print", "yajl",
                        [pretty](benchmark::State& state, const Corpus& corpus) {
                            const Tokens tokens(corpus.text);
                            yajl_gen generator = yajl_gen_alloc(nullptr);
                            yajl_gen_config(generator, yajl_gen_beautify, pretty ? 1 : 0);
                            yajl_gen_config(generator, yajl_gen_indent_string, "\t");
                            for ([[maybe_unused]] auto _ : state) {
                                yajl_gen_reset(generator, nullptr);
                                yajl_gen_clear(generator);
                                tokens.generate(generator);
                                const unsigned char* text = nullptr;
                                std::size_t length = 0;
                                yajl_gen_get_buf(generator, &text, &length);
                                benchmark::DoNotOptimize(length);
                            }
                            yajl_gen_free(generator);
                        });
    }
}

} // namespace

extern const Peer yajl_peer;
const Peer yajl_peer = {"yajl", &register_floors, nullptr}; // it holds no document

} // namespace bench
