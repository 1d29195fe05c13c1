// Rules that a file holds, applied to records: each rule is an expression, compiled once and evaluated for each record.

#include <kelm/kelm.h>

#include <iostream>

struct Rule
{
    std::string name;
    std::string when;
};
struct Payment
{
    std::string payer;
    std::string country;
    double amount = 0;
    bool isFirst = false;
};
struct Case
{
    std::vector<Rule> rules;
    std::vector<Payment> payments;
};

KELM_DESCRIBE(Rule, name, when)
KELM_DESCRIBE(Payment, payer, country, amount, isFirst)
KELM_DESCRIBE(Case, rules, payments)

int main(int argc, char** argv)
try
{
    const Case file = kelm::ReadFile<Case>(argc > 1 ? argv[1] : "rules.kds");

    double limit = 1000;
    kelm::Scope scope;
    scope.Bind("limit", limit);
    std::vector<kelm::Expression> conditions;
    for (const Rule& rule : file.rules)
        conditions.emplace_back(rule.when, scope, std::initializer_list<std::string_view>{"payment"});

    for (const Payment& payment : file.payments)
        for (std::size_t i = 0; i < conditions.size(); ++i)
            if (conditions[i].Evaluate<bool>(payment))
                std::cout << payment.payer << ": " << file.rules[i].name << '\n';
}
catch (const kelm::Error& e)
{
    std::cerr << e.what() << '\n';
    return 1;
}
