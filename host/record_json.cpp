#include "record_json.h"

#include <array>

namespace zelk::host {
namespace {

// In the order of core_standin::Record.
constexpr std::array kTypeNames{"BaseResult", "AuthResult", "AuthPluginResult", "FriendResult"};
static_assert(kTypeNames.size() == std::variant_size_v<core_standin::Record>);

void AddOwnFields(Json&, const BaseResult&) {}

void AddOwnFields(Json& json, const AuthResult& result) {
  json["openid"] = result.openid.c_str();
  json["token"] = result.token.c_str();
  json["token_expire_time"] = result.token_expire_time;
  json["channelid"] = result.channelid;
  json["channel"] = result.channel.c_str();
  json["channel_info"] = result.channel_info.c_str();
}

void AddOwnFields(Json& json, const AuthPluginResult& result) {
  json["channel"] = result.channel;
  json["channelid"] = result.channelid;
  json["openid"] = result.openid;
  json["channel_info"] = result.channel_info;
  json["confirm_code"] = result.confirm_code;
}

Json PersonJson(const PersonInfo& person) {
  return {{"openid", person.openid.c_str()},
          {"user_name", person.user_name.c_str()},
          {"gender", person.gender},
          {"picture_url", person.picture_url.c_str()},
          {"country", person.country.c_str()},
          {"province", person.province.c_str()},
          {"city", person.city.c_str()},
          {"language", person.language.c_str()},
          {"extra_json", person.extra_json.c_str()}};
}

void AddOwnFields(Json& json, const FriendResult& result) {
  Json& list = json["friend_info_list"] = Json::array();
  for (const PersonInfo& person : result.friend_info_list) list.push_back(PersonJson(person));
}

}  // namespace

const BaseResult& Base(const core_standin::Record& record) {
  return std::visit([](const BaseResult& base) -> const BaseResult& { return base; }, record);
}

const char* TypeName(const core_standin::Record& record) { return kTypeNames[record.index()]; }

Json RecordJson(const core_standin::Record& record) {
  const BaseResult& base = Base(record);
  Json json = {{"method_id", base.method_id},         {"ret_code", base.ret_code},
               {"ret_msg", base.ret_msg.c_str()},     {"third_code", base.third_code},
               {"third_msg", base.third_msg.c_str()}, {"extra_json", base.extra_json.c_str()}};
  std::visit([&json](const auto& result) { AddOwnFields(json, result); }, record);
  return json;
}

Json ResultEvent(const core_standin::CommittedResult& result) {
  return {{"event", "result"},
          {"type", TypeName(result.record)},
          {"observer_id", result.observer_id},
          {"seq_id", result.seq_id},
          {"flag", result.flag},
          {"record", RecordJson(result.record)}};
}

}  // namespace zelk::host
