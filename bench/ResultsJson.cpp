// SPDX-FileCopyrightText: 2026 libvel contributors
//
// SPDX-License-Identifier: MPL-2.0

#include "ResultsJson.h"

#include <json-glib/json-glib.h>

#include <cmath>

#include "Results.h"

namespace velbench {

namespace {

// JSON has no NaN: a figure that was not measured is null.
void addNumber(JsonBuilder* builder, const std::string& name, double value)
{
    json_builder_set_member_name(builder, name.c_str());
    if (std::isnan(value)) {
        json_builder_add_null_value(builder);
    } else {
        json_builder_add_double_value(builder, value);
    }
}

void addString(JsonBuilder* builder, const char* name, const std::string& value)
{
    json_builder_set_member_name(builder, name);
    json_builder_add_string_value(builder, value.c_str());
}

} // namespace

std::string resultsJson(const MachineInfo& machine, bool smoke)
{
    JsonBuilder* builder = json_builder_new();
    json_builder_begin_object(builder);
    addString(builder, "date", machine.date);
    json_builder_set_member_name(builder, "smoke");
    json_builder_add_boolean_value(builder, smoke);
    json_builder_set_member_name(builder, "machine");
    json_builder_begin_object(builder);
    addString(builder, "cpu", machine.cpuModel);
    addNumber(builder, "cores", static_cast<double>(machine.cores));
    addString(builder, "kernel", machine.kernel);
    addString(builder, "glibc", machine.glibc);
    addString(builder, "glib", machine.glib);
    addString(builder, "load_at_start", machine.loadAtStart);
    addString(builder, "load_at_end", machine.loadAtEnd);
    json_builder_end_object(builder);

    json_builder_set_member_name(builder, "figures");
    json_builder_begin_object(builder);
    for (const auto& [key, value] : Results::instance().values()) {
        addNumber(builder, key, value);
    }
    json_builder_end_object(builder);

    json_builder_set_member_name(builder, "targets");
    json_builder_begin_array(builder);
    for (const TargetCheck& check : checkedTargets()) {
        json_builder_begin_object(builder);
        addString(builder, "figure", check.key);
        addString(builder, "bound", check.bound);
        addNumber(builder, "limit", check.limit);
        addNumber(builder, "value", check.value);
        json_builder_set_member_name(builder, "met");
        json_builder_add_boolean_value(builder, check.met);
        json_builder_end_object(builder);
    }
    json_builder_end_array(builder);
    json_builder_end_object(builder);

    JsonGenerator* generator = json_generator_new();
    json_generator_set_pretty(generator, TRUE);
    JsonNode* root = json_builder_get_root(builder);
    json_generator_set_root(generator, root);
    gchar* text = json_generator_to_data(generator, nullptr);
    std::string json(text);
    g_free(text);
    json_node_unref(root);
    g_object_unref(generator);
    g_object_unref(builder);
    return json + "\n";
}

} // namespace velbench
