// The world that is there when nothing names another one: a player with friends in many countries,
// and a newcomer whom Connect does not know yet. Everybody in it is invented.
#include "world.h"

namespace eos_standin {
namespace {

// clang-format off
constexpr const char* kBuiltIn = R"json(
{"accounts":[
{"name":"player","password":"secret","exchange_code":"5c988d7bb00c31502b5c5f35c420a350",
 "account_id":"912af0dff974604f1321254ca8ff38b6","product_user_id":"00024776e70ff3b2fff53dd4d06da1e9",
 "display_name":"Ylva Ström","nickname":"Ylva","country":"SE","language":"sv","friends":[
  {"account_id":"8d2182a7c1ba1205b94af8e273d0798b","status":"Friends"},
  {"account_id":"2df8ce7d317c7d89dfa95be7695d2de0","status":"Friends"},
  {"account_id":"20c79ef8a4fcc250be4702fbd5045ffb","status":"InviteReceived"},
  {"account_id":"155bad9d288c1bedbb3fc799d47b944f","status":"Friends"},
  {"account_id":"b3a080464b20d8a51f444a3ff987c738","status":"Friends"},
  {"account_id":"e70583b72c7d2c0e3d388a8df45589e6","status":"Friends"},
  {"account_id":"69be52c0405f474127d994134aaa5dd0","status":"InviteReceived"},
  {"account_id":"f3a56043ee9bea186edf17ffc5b67150","status":"Friends"},
  {"account_id":"402fbc0a529232528942921e5fbe1e52","status":"InviteSent"},
  {"account_id":"83aa6b35748b47baec3b0159ad8fd1d3","status":"Friends"},
  {"account_id":"5fc3dd20faa5d4b9309ce8014f83dce7","status":"Friends"},
  {"account_id":"d8725ac5291b1823c3298668463ade17","status":"Friends"},
  {"account_id":"aeefb73649138db79183eb93b4ce12e6","status":"Friends"},
  {"account_id":"b28e4c1f91c1942d918feda5bbd940ff","status":"Friends"},
  {"account_id":"ce8846e6f5e6f8988a0b07fab93e1d4a","status":"InviteReceived"},
  {"account_id":"7f1ccc3a5f1b75b117e5437718bd3f95","status":"Friends"},
  {"account_id":"d62c14f7775d8f17551872fcfc1ab7c0","status":"Friends"},
  {"account_id":"11607aa94ec400528d042d4b42a468b7","status":"Friends"},
  {"account_id":"3903b39c5ca4b2c2c31807eaee778e4d","status":"Friends"},
  {"account_id":"cb63c9931e240f1244b9f9904f4ad016","status":"Friends"},
  {"account_id":"15ef9ffe61c4900cc82503a95585c7ee","status":"InviteSent"},
  {"account_id":"e1e1bcabf554b8abbd6b77000af752e8","status":"Friends"},
  {"account_id":"da1de312685d7ce8d5230edbd63e3627","status":"Friends"},
  {"account_id":"bedfba010e2a0bb2d51e04cb5bfc0bdb","status":"Friends"},
  {"account_id":"ca1a522dd0b26c342dfa9affced6bfee","status":"NotFriends"}]},
{"name":"newcomer","password":"secret","account_id":"5aa6311ba467857c6115cc755fde29f2","product_user_id":null,
 "display_name":"Pia Neuhold","country":"AT","language":"de",
 "friends":[{"account_id":"912af0dff974604f1321254ca8ff38b6","status":"InviteSent"}]},
{"name":"liv","password":"secret","account_id":"8d2182a7c1ba1205b94af8e273d0798b","product_user_id":"0002126f59f6214c1fa51a79bbf357bb",
 "display_name":"Liv Sørnes","nickname":"Livvy","country":"NO","language":"nb",
 "friends":[{"account_id":"912af0dff974604f1321254ca8ff38b6"}]},
{"name":"tomasz","password":"secret","account_id":"2df8ce7d317c7d89dfa95be7695d2de0","product_user_id":"0002010d5c86cbc974153c5d79ae9f7d",
 "display_name":"Tomasz Wyrwał","nickname":"Wyrw","country":"PL","language":"pl",
 "friends":[{"account_id":"912af0dff974604f1321254ca8ff38b6"}]},
{"name":"amara","password":"secret","account_id":"20c79ef8a4fcc250be4702fbd5045ffb","product_user_id":"0002739579389a14e522a3abdcc68a99",
 "display_name":"Amara Okonjo","nickname":"","country":"GB","language":"en",
 "friends":[{"account_id":"912af0dff974604f1321254ca8ff38b6"}]},
{"name":"kenji","password":"secret","account_id":"155bad9d288c1bedbb3fc799d47b944f","product_user_id":"00027b552228c582887e4b0a4a1a5b6f",
 "display_name":"森田健司","nickname":"KenjiM","country":"JP","language":"ja",
 "friends":[{"account_id":"912af0dff974604f1321254ca8ff38b6"}]},
{"account_id":"b3a080464b20d8a51f444a3ff987c738","display_name":"Mireia Vallverdú","nickname":"Mimi","country":"ES","language":"ca"},
{"account_id":"e70583b72c7d2c0e3d388a8df45589e6","display_name":"Hannes Köppke","country":"DE","language":"de"},
{"account_id":"69be52c0405f474127d994134aaa5dd0","display_name":"Zoë Lathbury","nickname":"zo.exe","country":"GB","language":"en"},
{"account_id":"f3a56043ee9bea186edf17ffc5b67150","display_name":"Quentin Maréchal","nickname":"Q","country":"FR","language":"fr"},
{"account_id":"402fbc0a529232528942921e5fbe1e52","display_name":"Iker Aldamiz","nickname":"Ikertxo","country":"ES","language":"eu"},
{"account_id":"83aa6b35748b47baec3b0159ad8fd1d3","display_name":"Noor van Rijswick","country":"NL","language":"nl"},
{"account_id":"5fc3dd20faa5d4b9309ce8014f83dce7","display_name":"Dorottya Szépvölgyi","nickname":"Dori","country":"HU","language":"hu"},
{"account_id":"d8725ac5291b1823c3298668463ade17","display_name":"Ravi Thekkadath","nickname":"ravioli","country":"IN","language":"ml"},
{"account_id":"aeefb73649138db79183eb93b4ce12e6","display_name":"Ольга Белозерцева","nickname":"Olya","country":"KZ","language":"ru"},
{"account_id":"b28e4c1f91c1942d918feda5bbd940ff","display_name":"Caio Brandãozinho","nickname":"caiozin","country":"BR","language":"pt"},
{"account_id":"ce8846e6f5e6f8988a0b07fab93e1d4a","display_name":"Saoirse Kinnerk","nickname":"","country":"IE","language":"ga"},
{"account_id":"7f1ccc3a5f1b75b117e5437718bd3f95","display_name":"Emre Tuzlalı","nickname":"emre06","country":"TR","language":"tr"},
{"account_id":"d62c14f7775d8f17551872fcfc1ab7c0","display_name":"Λυδία Καραβέλη","nickname":"Lydia","country":"GR","language":"el"},
{"account_id":"11607aa94ec400528d042d4b42a468b7","display_name":"Pavlína Hrušková","nickname":"Pája","country":"CZ","language":"cs"},
{"account_id":"3903b39c5ca4b2c2c31807eaee778e4d","display_name":"Marlon Eastwick","nickname":"eastwick","language":"en"},
{"account_id":"cb63c9931e240f1244b9f9904f4ad016","display_name":"한서율","nickname":"Seoyul","country":"KR","language":"ko"},
{"account_id":"15ef9ffe61c4900cc82503a95585c7ee","display_name":"Giulia Montefusco","country":"IT","language":"it"},
{"account_id":"e1e1bcabf554b8abbd6b77000af752e8","display_name":"Aatos Kivimäenpää","nickname":"aatos","country":"FI","language":"fi"},
{"account_id":"da1de312685d7ce8d5230edbd63e3627","display_name":"Wren Halloway","nickname":"wren","country":"US","language":"en"},
{"account_id":"bedfba010e2a0bb2d51e04cb5bfc0bdb","display_name":"Thảo Nguyên Lâm","nickname":"Thao","country":"VN","language":"vi"},
{"account_id":"ca1a522dd0b26c342dfa9affced6bfee","display_name":"Bjarki Fannarsson","nickname":"bjarki","country":"IS"}
]}
)json";
// clang-format on

}  // namespace

World World::BuiltIn() { return FromText(kBuiltIn, "built-in world"); }

}  // namespace eos_standin
